#include "Vintra/app/ProgramArguments.h"

#include <optional>

namespace vintra::ProgramArguments {
namespace {

std::optional<Request> requestOf(const std::string& argument) {
    if (argument == "--help" || argument == "-h") return Help{};
    if (argument == "--version") return Version{};
    if (!argument.starts_with("--")) return std::nullopt;
    const auto command = programCommandOfWord(argument.substr(2));
    return command ? std::optional<Request>(*command) : std::nullopt;
}

} // namespace

Request parse(const std::vector<std::string>& arguments) {
    if (arguments.empty()) return Open{};
    std::optional<Request> first;
    for (const std::string& argument : arguments) {
        const auto request = requestOf(argument);
        if (!request) return Wrong{"There is no option “" + argument + "”."};
        // Whatever else is said.
        if (std::holds_alternative<Help>(*request)) return Help{};
        if (!first) first = request;
    }
    if (arguments.size() > 1) return Wrong{"One option at a time: “" + arguments[1] + "” is one too many."};
    return *first;
}

std::string usageText() {
    return R"(usage: vintra [OPTION]

Opens Vintra's window; if Vintra runs already, brings it to the front.

With an option, tells the Vintra that runs what to do, waits until that is done and says what became of it.
A desktop's own keyboard shortcuts can be given these commands:
  --start      starts a recording
  --stop       ends the recording, and waits until its files are saved
  --toggle     starts a recording or ends the one that runs
  --marker     sets a marker in the recording that runs
  --quit       ends Vintra; a recording is saved first

  --help       shows this text
  --version    shows the version

The exit code is 0 if it was done, 1 if it couldn't be, 2 for an option that there isn't, 3 if Vintra isn't running.
To record without a window, see vintra-take --help.
)";
}

std::string versionText(const MachineFacts& facts) {
    return "Vintra " + facts.appVersion + " (build " + facts.buildVersion + ")\n";
}

} // namespace vintra::ProgramArguments

#include "Options.h"

#include <charconv>

namespace vintra {

const char* const kTimelineToolUsage =
    R"(usage: vintra-timeline FOLDER [--take NAME] [--editor finalCut|resolve|premiere|all]
                       [--markers S,S,...] [--output DIR]

Writes timeline documents for a take whose files lie in FOLDER, with every file stacked at zero.

  --take NAME    the take, where the folder holds several
  --editor E     for one editor only (default: all three)
  --markers S,S  markers, in seconds from the start of the take
  --output DIR   where the documents go (default: FOLDER)

Exit code 0: written; 1: failed; 2: wrong usage.
)";

namespace {

constexpr double kLongestTake = 604'800; // seconds, a week

std::vector<TimelineEditor> parseEditors(const std::string& text) {
    if (text == "all") return {TimelineEditor::finalCut, TimelineEditor::resolve, TimelineEditor::premiere};
    const auto editor = timelineEditorWithRawValue(text);
    if (!editor || *editor == TimelineEditor::none)
        throw UsageError("There is no editor “" + text +
                         "”. The editors are finalCut, resolve, premiere and all.");
    return {*editor};
}

double parseSeconds(const std::string& text) {
    double seconds = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const bool isNumber = status == std::errc() && end == text.data() + text.size();
    if (!isNumber || !(seconds >= 0 && seconds <= kLongestTake))
        throw UsageError(
            "“" + text +
            "” is no time for a marker. Give seconds from the start of the take, 0 to 604800, as in "
            "--markers 1.5,20.");
    return seconds;
}

std::vector<double> parseMarkers(const std::string& text) {
    std::vector<double> markers;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find(',', start), text.size());
        markers.push_back(parseSeconds(text.substr(start, end - start)));
        start = end + 1;
    }
    return markers;
}

} // namespace

TimelineToolOptions parseTimelineToolOptions(const std::vector<std::string>& arguments) {
    TimelineToolOptions options;
    options.editors = parseEditors("all");
    std::vector<std::string> folders;
    for (size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        const auto value = [&]() -> const std::string& {
            if (++index == arguments.size()) throw UsageError("The option " + argument + " needs a value.");
            return arguments[index];
        };
        if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--take") {
            options.take = value();
        } else if (argument == "--editor") {
            options.editors = parseEditors(value());
        } else if (argument == "--markers") {
            options.markers = parseMarkers(value());
        } else if (argument == "--output") {
            options.output = value();
        } else if (argument.starts_with("-") && argument.size() > 1) {
            throw UsageError("There is no option " + argument + ".");
        } else {
            folders.push_back(argument);
        }
    }
    if (options.help) return options;
    if (folders.empty()) throw UsageError("No folder was given.");
    if (folders.size() > 1) throw UsageError("More than one folder was given: “" + folders[1] + "” too.");
    if (folders[0].empty() || (options.output && options.output->empty()))
        throw UsageError("A folder's name is empty.");
    options.folder = folders[0];
    return options;
}

} // namespace vintra

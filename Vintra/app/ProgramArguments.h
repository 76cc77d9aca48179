#pragma once

#include "Vintra/platform/MachineFacts.h"
#include "Vintra/platform/ProgramCommand.h"

#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// What the program's command line asks for.
namespace ProgramArguments {

/// The window.
struct Open {};
struct Help {};
struct Version {};
/// A sentence that says what is wrong with it.
struct Wrong {
    std::string sentence;
};
/// A command is for the program that runs already.
using Request = std::variant<Open, ProgramCommand, Help, Version, Wrong>;

/// What a process that gives a command ends with.
enum ExitCode { kDone = 0, kRefused = 1, kWrongUsage = 2, kNotRunning = 3 };

/// Reads the words behind the program's name.
Request parse(const std::vector<std::string>& arguments);
/// The text of --help.
std::string usageText();
/// The text of --version.
std::string versionText(const MachineFacts& facts);

} // namespace ProgramArguments
} // namespace vintra

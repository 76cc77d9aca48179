#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vintra {

/// By what the desktop knows the program: the name on the message bus, of its menu entry, of its windows' class.
inline constexpr const char* kApplicationID = "org.vintra.Vintra";

/// What a running program can be told to do from outside, as by a key of the desktop's own.
enum class ProgramCommand { start, stop, toggle, marker, quit };

/// What became of a command. A value.
struct CommandOutcome {
    bool isDone = false;
    std::string sentence; ///< for whoever gave it
};

/// "start", "stop", "toggle", "marker", "quit".
const char* wordOf(ProgramCommand command);
std::optional<ProgramCommand> programCommandOfWord(std::string_view word);

} // namespace vintra

#include "Vintra/platform/ProgramCommand.h"

namespace vintra {

const char* wordOf(ProgramCommand command) {
    switch (command) {
    case ProgramCommand::start:
        return "start";
    case ProgramCommand::stop:
        return "stop";
    case ProgramCommand::toggle:
        return "toggle";
    case ProgramCommand::marker:
        return "marker";
    case ProgramCommand::quit:
        return "quit";
    }
    return "";
}

std::optional<ProgramCommand> programCommandOfWord(std::string_view word) {
    using enum ProgramCommand;
    for (const ProgramCommand command : {start, stop, toggle, marker, quit}) {
        if (word == wordOf(command)) return command;
    }
    return std::nullopt;
}

} // namespace vintra

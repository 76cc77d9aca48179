#include "tools/vintra/CommandRun.h"

#include "Vintra/app/ProgramArguments.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/platform/linux/desktop/ProgramBus.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"

#include <cstdio>

namespace vintra {

int runCommand(ProgramCommand command) {
    LinuxEventLoop loop;
    MainThreadBus sessionBus(loop, MessageBus::session);
    ProgramBus program(sessionBus);
    bool isRunning = false;
    const CommandOutcome outcome = program.command(command, isRunning);
    const std::string sentence = printable(outcome.sentence);
    if (outcome.isDone) {
        std::printf("%s\n", sentence.c_str());
        return ProgramArguments::kDone;
    }
    std::fprintf(stderr, "vintra: %s\n", sentence.c_str());
    return isRunning ? ProgramArguments::kRefused : ProgramArguments::kNotRunning;
}

} // namespace vintra

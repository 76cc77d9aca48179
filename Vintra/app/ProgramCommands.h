#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/TakeControl.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/ProgramCommand.h"

#include <functional>
#include <string>
#include <vector>

namespace vintra {

/// Carries out what the program is told to do from outside, and says what became of it: of a start, once the take
/// runs; of a stop, once its files are whole. Owned by the program. Main thread.
class ProgramCommands {
public:
    using Answer = std::function<void(CommandOutcome)>;

    /// The take's control is the main window's, which outlives this. `quit` ends the program in order.
    ProgramCommands(const AppSurroundings& surroundings, TakeControl& take, std::function<void()> quit);

    /// The answer comes at once or later, once; not at all if this goes before.
    void carryOut(ProgramCommand command, const Answer& answer);

private:
    void start(const Answer& answer);
    void stop(const Answer& answer);
    void addMarker(const Answer& answer);
    void quit(const Answer& answer);
    void whenIdle(std::function<void()> goOn);
    std::string why() const;

    const AppSurroundings surroundings;
    TakeControl& take;
    const std::function<void()> quitProgram;
    std::vector<std::function<void()>> awaitingIdle;
    Observation busyObservation;
    MainThreadTasks tasks;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/ProgramCommand.h"
#include "Vintra/platform/linux/desktop/MainThreadBus.h"

#include <functional>
#include <memory>
#include <string>

namespace vintra {

/// The program's name on the session bus, which one process has at a time, and what others may ask of it there:
/// org.freedesktop.Application to come to the front, and the commands, each answered once it has been carried out.
///
///     claim --> first: serve, then run the event loop
///           --> second: raise the first and end
///           --> alone: run without others' knowing
///
/// Owned by a `main`. Main thread.
class ProgramBus {
public:
    enum class Standing {
        first,
        second, ///< another process has the name
        alone   ///< there is no bus, or none that answers; `problem` says which
    };
    /// What a desktop hands to a program that it lets come to the front; either may be empty.
    struct Activation {
        std::string token;     ///< of XDG_ACTIVATION_TOKEN, for Wayland
        std::string startupID; ///< of DESKTOP_STARTUP_ID, for X11
    };
    struct Handlers {
        std::function<void(const Activation&)> activate;
        /// The answer may come later, after the bus has gone too.
        std::function<void(ProgramCommand, std::function<void(CommandOutcome)> answer)> carryOut;
    };

    /// Both outlive this.
    explicit ProgramBus(MainThreadBus& sessionBus, std::string name = kApplicationID);
    ~ProgramBus();
    ProgramBus(const ProgramBus&) = delete;
    ProgramBus& operator=(const ProgramBus&) = delete;

    /// Once, before the event loop runs. Waits for the bus, for a second at most.
    Standing claim();
    /// Why nothing can reach this program: a sentence for the user; empty unless `alone`.
    const std::string& problem() const { return problem_; }
    /// The same for a bus that was left before.
    static std::string problemOfHungBus();
    /// For the first, before the event loop runs: what was asked meanwhile has waited.
    void serve(Handlers handlers);

    /// For a second: brings the first to the front. Waits for it.
    CommandOutcome raiseFirst(const Activation& activation);
    /// For a process that isn't the program: has the program carry the command out. Waits for that, however long it
    /// takes; of `quit`, until the program has ended. `isRunning` becomes false if there is no such program.
    CommandOutcome command(ProgramCommand command, bool& isRunning);

    /// The activation that this process was started with. To be asked for before a toolkit takes it.
    static Activation activationOfStart();

private:
    static int called(sd_bus_message* message, void* data, sd_bus_error* error);
    int answerCommand(sd_bus_message* message);
    int answerActivation(sd_bus_message* message);
    int answerAction(sd_bus_message* message);
    bool awaitBus();
    bool firstAnswers();
    void awaitEndOfFirst();
    BusMessage askFirst(const std::string& interface, const char* member) const;

    MainThreadBus& bus;
    const std::string name;
    const std::string path;             ///< the name as a path
    const std::string controlInterface; ///< of the commands
    std::string problem_;
    Handlers handlers;
    BusSlot application;
    BusSlot control;
};

} // namespace vintra

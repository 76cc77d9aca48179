#pragma once

#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/ProgramWindows.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/Task.h"

#include <functional>
#include <memory>
#include <vector>

namespace vintra {

class ScreenRecorderManager;

/// How the program ends. A take that runs is ended first, so that no recording is thrown away.
///
///     running --quit--> isQuitting: the take ends --> terminate
///                            \--quit again--> terminate at once; what was recorded is left as by a crash: playable
///
/// Owned by the program. Main thread.
class AppDelegate {
public:
    /// All outlive this.
    AppDelegate(const Platform& platform, ProgramWindows& windows);

    std::weak_ptr<ScreenRecorderManager> recorder; ///< from the main window's first appearance on

    Published<bool> isQuitting{false}; ///< the windows say that the take is being saved

    /// The user, the session's end or a signal asks the program to end.
    void quit();
    /// To be called on every ordinary way out of the event loop, as the last thing.
    void applicationWillTerminate();

private:
    Task<> endInOrder(std::shared_ptr<ScreenRecorderManager> manager);
    Task<> awaitIdle(ScreenRecorderManager& manager);

    const Platform& platform;
    ProgramWindows& windows;
    std::vector<std::function<void()>> awaitingIdle;
    Observation busyObservation;
    MainThreadTasks tasks;
};

} // namespace vintra

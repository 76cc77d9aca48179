#pragma once

#include "Vintra/platform/linux/runtime/SignalWatcher.h"

#include <functional>
#include <memory>

namespace vintra {

class EventLoop;

/// The signals that ask a program to end: of a terminal, of the session's end. The first and the second call `quit`,
/// which ends the program in order and then at once; from then on they do what they do to any program. Owned by a
/// `main`. Main thread.
class QuitSignals {
public:
    /// The loop outlives this.
    QuitSignals(EventLoop& loop, std::function<void()> quit);

private:
    void arrived();

    const std::function<void()> quit;
    int count = 0;
    std::unique_ptr<SignalWatcher> watcher;
};

} // namespace vintra

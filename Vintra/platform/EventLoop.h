#pragma once

#include "Vintra/platform/MainThread.h"

#include <functional>
#include <memory>

namespace vintra {

/// The event loop of a program's main thread: it runs posted work and watches descriptors. A program makes
/// one, a plain one or that of its windows. The thread that makes it is the main thread; it alone may run the
/// loop and watch descriptors. `post` and `stop` are for any thread.
class EventLoop : public MainThread {
public:
    /// A descriptor whose other end has gone is ready for both: the next read or write tells what has
    /// happened.
    enum class Readiness { readable, writable };

    /// Runs posted work and the blocks of watched descriptors, neither of which keeps the other from its
    /// turn, until `stop`. Sleeps while there is nothing to do.
    virtual void run() = 0;
    /// Ends the current run after the current piece of work; without one, the next run at its beginning. Work
    /// that has not run by then waits for the next run.
    virtual void stop() = 0;

    /// Calls the block again and again while the descriptor is ready, for as long as the result is kept. The
    /// block may let go of any watch, its own included, and begin others. The loop neither reads nor writes
    /// nor closes the descriptor. Let go of the watch before you close it: a closed descriptor is no longer
    /// watched, but its number may soon be that of another file.
    [[nodiscard]] virtual std::shared_ptr<void> watch(int descriptor, Readiness readiness,
                                                      std::function<void()> onReady) = 0;
};

} // namespace vintra

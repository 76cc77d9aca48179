#pragma once

#include <functional>

namespace vintra {

/// The one thread that runs the controller, the views and the overlays: an event loop, or virtual time.
class MainThread {
public:
    virtual ~MainThread() = default;
    /// Runs the work later on the main thread, in the order of posting. Any thread. Never runs it at once.
    virtual void post(std::function<void()> work) = 0;
    virtual bool isCurrent() const = 0;
};

} // namespace vintra

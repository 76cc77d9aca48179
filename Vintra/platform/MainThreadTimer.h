#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace vintra {

/// Calls its handler on the main thread again and again. A firing that finds the one before unhandled is left
/// out, so a main thread that was busy isn't called several times in a row. Made, owned and destroyed on the
/// main thread; the handler isn't called once it has gone.
class MainThreadTimer {
public:
    /// The first call comes after one interval. The main thread outlives this.
    MainThreadTimer(DispatchQueues& dispatchQueues, MainThread& mainThread, int64_t intervalNanoseconds,
                    std::function<void()> handler);
    ~MainThreadTimer();
    MainThreadTimer(const MainThreadTimer&) = delete;
    MainThreadTimer& operator=(const MainThreadTimer&) = delete;

private:
    struct Firing;
    const std::shared_ptr<Firing> firing; ///< shared with what is on its way
    const std::unique_ptr<DispatchTimer> timer;
};

} // namespace vintra

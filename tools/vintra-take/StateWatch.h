#pragma once

#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/Task.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace vintra {

class DispatchQueue;

/// Lets a task wait until published values make a condition true. One task waits at a time. Main thread.
class StateWatch {
public:
    explicit StateWatch(const Platform& services);
    StateWatch(const StateWatch&) = delete;
    StateWatch& operator=(const StateWatch&) = delete;

    /// Whoever waits looks at its condition again after each set of the value, which must outlive this.
    template <typename Value>
    void follow(Published<Value>& value) {
        observations.push_back(value.observe([this](const Value&) { look(); }));
    }

    /// Waits until the condition holds; it is looked at at once, and whenever a followed value is set.
    Task<> until(std::function<bool()> condition);
    /// The same, but for that long at most. Says whether the condition holds.
    Task<bool> until(std::function<bool()> condition, int64_t nanoseconds);

private:
    using Wake = std::function<void()>;

    void look();
    Task<> change();

    const std::shared_ptr<MainThread> mainThread;
    const std::shared_ptr<DispatchQueue> clock;                  ///< the queue of the timers
    const std::shared_ptr<Wake> wake = std::make_shared<Wake>(); ///< of the task that waits; empty: none does
    std::vector<Observation> observations;
};

} // namespace vintra

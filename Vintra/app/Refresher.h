#pragma once

#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Published.h"

#include <functional>
#include <utility>
#include <vector>

namespace vintra {

/// Brings a view model in line with what it shows: once for all changes of one turn of the main thread. Owned by the
/// view model as its last member. Main thread.
class Refresher {
public:
    /// The main thread outlives this.
    Refresher(MainThread& mainThread, std::function<void()> refresh)
        : mainThread(mainThread)
        , refresh(std::move(refresh))
        , tasks(mainThread) {}

    /// A change of the value is one of what is shown.
    template <typename... Values>
    void follow(Published<Values>&... values) {
        (observations.push_back(values.observe([this](const Values&) { note(); })), ...);
    }
    /// Refreshes soon.
    void note() {
        if (std::exchange(isDue, true)) return;
        mainThread.post(tasks.guarded([this] {
            isDue = false;
            refresh();
        }));
    }

private:
    MainThread& mainThread;
    const std::function<void()> refresh;
    bool isDue = false;
    std::vector<Observation> observations;
    MainThreadTasks tasks;
};

/// Sets the value if it is another: who observes a view model hears of real changes alone.
template <typename Value>
void publish(Published<Value>& to, Value value) {
    if (!(value == *to)) to.set(std::move(value));
}

} // namespace vintra

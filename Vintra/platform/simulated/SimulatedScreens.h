#pragma once

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Screens.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vintra {

/// The screens of a simulated machine: at the start one of 1440 × 900 points at two pixels a point, number 1.
class SimulatedScreens : public Screens {
public:
    explicit SimulatedScreens(std::shared_ptr<MainThread> mainThread)
        : mainThread(std::move(mainThread)) {}

    std::vector<NSScreen> screens() const override { return list; }
    Observation observeChanges(std::function<void()> block) override {
        auto kept = std::make_shared<std::function<void()>>(std::move(block));
        listeners.push_back(kept);
        return kept;
    }

    /// Tells the observers that the list has changed.
    void notify() {
        for (const auto& weak : listeners) {
            mainThread->post([weak] {
                if (const auto block = weak.lock()) (*block)();
            });
        }
    }

    std::vector<NSScreen> list{{1, "Built-in Display", {{0, 0}, {1440, 900}}, 2.0}};

private:
    std::shared_ptr<MainThread> mainThread;
    std::vector<std::weak_ptr<std::function<void()>>> listeners;
};

} // namespace vintra

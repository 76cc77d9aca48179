#pragma once

#include "Vintra/platform/OwnWindows.h"

#include <memory>
#include <utility>
#include <vector>

namespace vintra {

/// The program's windows as a test sets them; none at the start, and another program is the active one.
class SimulatedOwnWindows final : public OwnWindows {
public:
    bool isActive() const override { return active; }
    std::vector<Window> windows() const override { return list; }
    Observation observeChanges(std::function<void()> block) override {
        auto kept = std::make_shared<std::function<void()>>(std::move(block));
        blocks.push_back(kept);
        return kept;
    }

    /// To be called after a change of the list.
    void notify() {
        const auto all = blocks;
        for (const auto& weak : all) {
            if (const auto block = weak.lock()) (*block)();
        }
    }

    bool active = false;
    std::vector<Window> list;

private:
    std::vector<std::weak_ptr<std::function<void()>>> blocks;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/EventMonitors.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vintra {

/// A pointer that a test moves and presses. Main thread.
class SimulatedEventMonitors final : public EventMonitors {
public:
    CGPoint mouseLocation() const override { return pointer; }
    Observation observeMouseMoves(std::function<void()> block) override {
        return keep(moves, [block = std::move(block)](CGPoint) { block(); });
    }
    bool canObserveClicks() const override { return tellsClicks; }
    bool isTrusted() const override { return trusted; }
    Observation observeClicks(std::function<void(CGPoint)> block) override {
        return keep(clicks, std::move(block));
    }

    void move(CGPoint to) {
        pointer = to;
        tell(moves);
    }
    /// In another program's window.
    void click(CGPoint at) {
        pointer = at;
        tell(clicks);
    }
    /// How many observe.
    size_t moveObservers() const { return count(moves); }
    size_t clickObservers() const { return count(clicks); }

    CGPoint pointer;
    bool trusted = true;
    bool tellsClicks = true;

private:
    using Block = std::function<void(CGPoint)>;
    using Blocks = std::vector<std::weak_ptr<Block>>;

    static Observation keep(Blocks& blocks, Block block) {
        auto kept = std::make_shared<Block>(std::move(block));
        blocks.push_back(kept);
        return kept;
    }
    void tell(const Blocks& blocks) const {
        const Blocks current = blocks;
        for (const auto& weak : current) {
            if (const auto block = weak.lock()) (*block)(pointer);
        }
    }
    static size_t count(const Blocks& blocks) {
        size_t result = 0;
        for (const auto& weak : blocks)
            result += !weak.expired();
        return result;
    }

    Blocks moves;
    Blocks clicks;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/WindowQuestion.h"

#include <utility>
#include <vector>

namespace vintra {

/// A desktop's question about its windows that a test answers. At the start there is none: windows are pointed at. Main
/// thread.
class SimulatedWindowQuestion final : public WindowQuestion {
public:
    Offer offer() const override { return offer_; }
    Observation observeOffer(std::function<void()> block) override {
        auto kept = std::make_shared<std::function<void()>>(std::move(block));
        blocks.push_back(kept);
        return kept;
    }
    void ask(Wish wish, std::function<void(Answer)> completion) override {
        wishes.push_back(wish);
        open = std::move(completion);
        if (nextAnswer) answer(*std::exchange(nextAnswer, std::nullopt));
    }

    void cancel() override { answer({.window = {}, .error = SystemError("simulated", 1, "Cancelled.")}); }

    void change(Offer newOffer) {
        offer_ = newOffer;
        const auto all = blocks;
        for (const auto& weak : all) {
            if (const auto block = weak.lock()) (*block)();
        }
    }
    /// To the question that is open.
    void answer(const Answer& given) {
        const auto told = std::exchange(open, nullptr);
        if (told) told(given);
    }
    bool isOpen() const { return open != nullptr; }

    std::vector<Wish> wishes;         ///< of the questions so far
    std::optional<Answer> nextAnswer; ///< at once, to the next question

private:
    Offer offer_ = Offer::needless;
    std::function<void(Answer)> open;
    std::vector<std::weak_ptr<std::function<void()>>> blocks;
};

} // namespace vintra

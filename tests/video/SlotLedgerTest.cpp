#include "Vintra/video/SlotLedger.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

namespace vintra {
namespace {

TEST(SlotLedgerTest, anEmptyOneHasNoSlots) {
    const SlotLedger ledger;
    EXPECT_EQ(ledger.account(100), FrameAccount{});
    EXPECT_EQ(ledger.firstSlot(), std::nullopt);
}

TEST(SlotLedgerTest, everySlotFromTheFirstToTheLastCountsOnce) {
    SlotLedger ledger;
    ledger.noteOwn(3);
    ledger.noteCopy(4);
    ledger.noteLoss(6);
    ledger.noteOwn(7);
    const FrameAccount account = ledger.account(10);
    EXPECT_EQ(account, (FrameAccount{.first = 3, .own = 2, .copied = 1, .unchanged = 4, .lost = 1}));
    EXPECT_EQ(account.slots(), 8);
    EXPECT_EQ(ledger.account(5).slots(), 5) << "up to the latest that was noted";
}

TEST(SlotLedgerTest, aLossThatIsLearnedOfLaterTakesTheCopysPlace) {
    SlotLedger ledger;
    ledger.noteOwn(0);
    ledger.noteCopy(1);
    EXPECT_TRUE(ledger.noteLoss(1));
    EXPECT_FALSE(ledger.noteLoss(1)) << "it counts once";
    EXPECT_FALSE(ledger.noteLoss(0)) << "it has a picture of its own";
    ledger.noteCopy(1);
    EXPECT_EQ(ledger.account(1), (FrameAccount{.own = 1, .lost = 1}));
}

TEST(SlotLedgerTest, nothingIsLostBeforeTheFirstSlot) {
    SlotLedger ledger;
    ledger.noteOwn(5);
    EXPECT_FALSE(ledger.noteLoss(4));
    EXPECT_EQ(ledger.account(5), (FrameAccount{.first = 5, .own = 1}));
}

TEST(SlotLedgerTest, aStillHourTakesNoMemoryAndCounts) {
    SlotLedger ledger;
    ledger.noteOwn(0);
    ledger.noteOwn(1'000'000'000'000);
    EXPECT_EQ(ledger.account(0), (FrameAccount{.own = 2, .unchanged = 999'999'999'999}));
}

TEST(SlotLedgerTest, agreesWithAMapAtRandom) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    enum { own = 1, copied, lost };
    SlotLedger ledger;
    std::map<int64_t, int> expected;
    ledger.noteOwn(0);
    expected[0] = own;
    for (int i = 0; i < 20'000; ++i) {
        const auto slot = static_cast<int64_t>(random() % 5000);
        int& kind = expected[slot];
        switch (random() % 3) {
        case 0:
            ledger.noteOwn(slot);
            kind = own;
            break;
        case 1:
            ledger.noteCopy(slot);
            kind = kind == 0 ? copied : kind;
            break;
        default:
            EXPECT_EQ(ledger.noteLoss(slot), kind == 0 || kind == copied);
            kind = kind == own ? own : lost;
        }
    }
    std::map<int, int64_t> counts;
    for (const auto& [slot, kind] : expected)
        ++counts[kind];
    const FrameAccount account = ledger.account(5999);
    EXPECT_EQ(account, (FrameAccount{.own = counts[own],
                                     .copied = counts[copied],
                                     .unchanged = 6000 - counts[own] - counts[copied] - counts[lost],
                                     .lost = counts[lost]}));
}

} // namespace
} // namespace vintra

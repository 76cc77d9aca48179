#include "Vintra/capturearea/PickableWindow.h"

#include <gtest/gtest.h>
#include <limits>

namespace vintra {
namespace {

constexpr int32_t kOwn = 77;

CGWindowInfo window(uint32_t number, double width = 300, double height = 200) {
    return {.number = number,
            .bounds = CGRect{{10, 20}, {width, height}},
            .layer = 0,
            .ownerPID = 5,
            .ownerName = "Editor",
            .name = "Notes"};
}

std::vector<uint32_t> idsOf(const std::vector<CGWindowInfo>& windows) {
    std::vector<uint32_t> ids;
    for (const PickableWindow& each : pickableWindows(windows, kOwn))
        ids.push_back(each.id);
    return ids;
}

using IDs = std::vector<uint32_t>;

TEST(PickableWindowTest, anOrdinaryWindowIsOfferedAsItIs) {
    EXPECT_EQ(pickableWindows({window(9)}, kOwn),
              (std::vector<PickableWindow>{
                  {.id = 9, .appName = "Editor", .title = "Notes", .frame = {{10, 20}, {300, 200}}}}));
}

TEST(PickableWindowTest, theOrderIsThatOfTheListFromTheFront) {
    EXPECT_EQ(idsOf({window(3), window(1), window(2)}), (IDs{3, 1, 2}));
}

TEST(PickableWindowTest, windowsUpTo40PointsInEitherDirectionAreNotOffered) {
    EXPECT_EQ(idsOf({window(1, 40, 500), window(2, 500, 40), window(3, 40, 40)}), IDs{});
    EXPECT_EQ(idsOf({window(1, 41, 41), window(2, 40.5, 40.5)}), (IDs{1, 2}));
    EXPECT_EQ(idsOf({window(1, -300, 200), window(2, std::numeric_limits<double>::quiet_NaN(), 200)}), IDs{});
}

TEST(PickableWindowTest, theProgramsOwnWindowsAreNotOffered) {
    CGWindowInfo own = window(1);
    own.ownerPID = kOwn;
    EXPECT_EQ(idsOf({own, window(2)}), IDs{2});
}

TEST(PickableWindowTest, aWindowOfAnUnknownProgramIsOffered) {
    CGWindowInfo unknown = window(1);
    unknown.ownerPID = std::nullopt;
    EXPECT_EQ(idsOf({unknown}), IDs{1});
}

TEST(PickableWindowTest, onlyTheOrdinaryLayerIsOffered) {
    CGWindowInfo menu = window(1);
    menu.layer = 25;
    CGWindowInfo below = window(2);
    below.layer = -1;
    EXPECT_EQ(idsOf({menu, below, window(3)}), IDs{3});
}

TEST(PickableWindowTest, aWindowWithoutNumberOrBoundsIsNotOffered) {
    CGWindowInfo nameless = window(1);
    nameless.number = std::nullopt;
    CGWindowInfo boundless = window(2);
    boundless.bounds = std::nullopt;
    EXPECT_EQ(idsOf({nameless, boundless}), IDs{});
    EXPECT_EQ(idsOf({window(0)}), IDs{0}) << "a number all the same";
}

TEST(PickableWindowTest, whatIsNotSaidHasADefault) {
    CGWindowInfo bare = window(1);
    bare.ownerName = std::nullopt;
    bare.name = std::nullopt;
    const auto offered = pickableWindows({bare}, kOwn);
    ASSERT_EQ(offered.size(), 1u);
    EXPECT_EQ(offered[0].appName, "Application");
    EXPECT_EQ(offered[0].title, "");
}

TEST(PickableWindowTest, theLabelHasTheTitleOnlyIfThereIsOne) {
    EXPECT_EQ((PickableWindow{.id = 1, .appName = "Editor", .title = "Notes", .frame = {}}).label(),
              "Editor — Notes");
    EXPECT_EQ((PickableWindow{.id = 1, .appName = "Editor", .title = "", .frame = {}}).label(), "Editor");
}

} // namespace
} // namespace vintra

#include "Vintra/capturearea/ClickHighlight.h"

#include "Vintra/platform/simulated/SimulatedEventMonitors.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/capturearea/OverlayShapes.h"

namespace vintra {
namespace {

const NSScreen kClickScreen{7, "Side", {{1440, 100}, {1280, 720}}, 2};
constexpr NSColor kClickYellow{1, 0.8, 0};

/// Clicks on a screen at (1440, 100) of the desktop, on virtual time.
class ClickHighlightTest : public ::testing::Test {
protected:
    SimulatedOverlayWindow::State& window() { return windows.last(); }
    std::vector<DrawList::StrokedEllipse> rings() {
        std::vector<DrawList::StrokedEllipse> result;
        for (const auto& shape : window().list.shapes)
            result.push_back(std::get<DrawList::StrokedEllipse>(shape));
        return result;
    }

    SimulatedMachine machine;
    SimulatedOverlayWindows windows;
    SimulatedEventMonitors monitors;
    NSColor color = kClickYellow;
    int complaints = 0;
    ClickHighlight highlight{{.windows = windows,
                              .monitors = monitors,
                              .dispatchQueues = *machine.dispatchQueues,
                              .mainThread = *machine.mainThread,
                              .hostClock = *machine.hostClock,
                              .color = [this] { return color; },
                              .onNotTrusted = [this] { ++complaints; }}};
};

TEST_F(ClickHighlightTest, itCoversTheScreenInFrontAndLetsEveryClickThrough) {
    EXPECT_EQ(highlight.place(kClickScreen), 900u);
    EXPECT_EQ(window().frame, kClickScreen.frame);
    EXPECT_TRUE(window().isOnScreen);
    EXPECT_TRUE(window().ignoresMouseEvents);
    EXPECT_FALSE(window().recipe.takesKeyboard);
    EXPECT_EQ(window().recipe.level, 25);
    EXPECT_EQ(monitors.clickObservers(), 1u);
}

TEST_F(ClickHighlightTest, placedAgainTheSameWindowMovesAndComesToTheFront) {
    highlight.place(kClickScreen);
    const NSScreen other{8, "Other", {{0, 0}, {800, 600}}, 1};
    EXPECT_EQ(highlight.place(other), 900u);
    EXPECT_EQ(windows.made.size(), 1u);
    EXPECT_EQ(window().frame, other.frame);
    EXPECT_EQ(window().timesInFront, 2);
    EXPECT_EQ(monitors.clickObservers(), 1u);
}

TEST_F(ClickHighlightTest, aRippleGrowsAndFadesWithin450Milliseconds) {
    highlight.place(kClickScreen);
    monitors.click({1740, 200}); // (300, 620) of the overlay
    ASSERT_EQ(rings().size(), 1u);
    // 46 × 0.3 = 13.8 at first, its line 3 × 0.3 wide.
    expectSameRect(rings()[0].in, {{293.1, 613.1}, {13.8, 13.8}});
    EXPECT_NEAR(rings()[0].lineWidth, 0.9, 1e-9);
    EXPECT_EQ(rings()[0].color, kClickYellow);

    machine.run(0.2251);
    ASSERT_EQ(rings().size(), 1u);
    // The frame before half of the time, the 13th: 0.21667 / 0.45 of the way.
    const double progress = 13 / 27.0;
    const double diameter = 46 * (0.3 + 1.2 * progress);
    EXPECT_NEAR(rings()[0].in.size.width, diameter, 1e-3);
    EXPECT_NEAR(rings()[0].in.midX(), 300, 1e-6);
    EXPECT_NEAR(rings()[0].in.midY(), 620, 1e-6);
    EXPECT_NEAR(rings()[0].lineWidth, 3 * (0.3 + 1.2 * progress), 1e-4);
    EXPECT_NEAR(rings()[0].color.alpha, 1 - progress, 1e-4);

    machine.run(0.4667 - 0.2251);
    EXPECT_TRUE(rings().empty());
}

TEST_F(ClickHighlightTest, nothingIsDrawnOnceTheRipplesAreOver) {
    highlight.place(kClickScreen);
    machine.run(5);
    EXPECT_EQ(window().presentations, 0) << "at rest";
    monitors.click({1740, 200});
    machine.run(0.6);
    const int afterwards = window().presentations;
    EXPECT_LE(afterwards, 30);
    EXPECT_GE(afterwards, 27);
    machine.run(5);
    EXPECT_EQ(window().presentations, afterwards);
}

TEST_F(ClickHighlightTest, aDoubleClickGivesTwoRipplesEachRemovedByItself) {
    highlight.place(kClickScreen);
    monitors.click({1740, 200});
    machine.run(0.2);
    monitors.click({1740, 200});
    EXPECT_EQ(rings().size(), 2u);
    machine.run(0.28); // the first ended at 0.45
    ASSERT_EQ(rings().size(), 1u);
    EXPECT_GT(rings()[0].color.alpha, 0.3);
    machine.run(0.2);
    EXPECT_TRUE(rings().empty());
}

TEST_F(ClickHighlightTest, ripplesUnderWayKeepTheirColour) {
    highlight.place(kClickScreen);
    monitors.click({1740, 200});
    color = {0, 0, 1};
    monitors.click({1800, 300});
    ASSERT_EQ(rings().size(), 2u);
    EXPECT_EQ(rings()[0].color, kClickYellow);
    EXPECT_EQ(rings()[1].color, (NSColor{0, 0, 1}));
}

TEST_F(ClickHighlightTest, clicksOnAnotherScreenAreNotShown) {
    highlight.place(kClickScreen);
    monitors.click({1439, 200});
    monitors.click({1740, 99});
    EXPECT_EQ(window().presentations, 0);
}

TEST_F(ClickHighlightTest, tornDownItListensNoLonger) {
    highlight.place(kClickScreen);
    monitors.click({1740, 200});
    highlight.teardown();
    EXPECT_FALSE(window().isOnScreen);
    EXPECT_EQ(window().input, nullptr);
    EXPECT_EQ(monitors.clickObservers(), 0u);
    machine.run(1);
    highlight.place(kClickScreen);
    EXPECT_EQ(windows.made.size(), 2u);
    EXPECT_EQ(window().presentations, 0) << "the ripples of before are forgotten";
}

TEST_F(ClickHighlightTest, withoutPermissionItSaysSoAndAsksAgainNextTime) {
    monitors.trusted = false;
    EXPECT_TRUE(highlight.place(kClickScreen)) << "the window is there all the same";
    EXPECT_EQ(complaints, 1);
    EXPECT_EQ(monitors.clickObservers(), 0u);
    highlight.teardown();
    monitors.trusted = true;
    highlight.place(kClickScreen);
    EXPECT_EQ(complaints, 1);
    EXPECT_EQ(monitors.clickObservers(), 1u);
}

TEST_F(ClickHighlightTest, withoutAWindowThereIsNothingToListenFor) {
    windows.makesNone = true;
    EXPECT_EQ(highlight.place(kClickScreen), std::nullopt);
    EXPECT_EQ(monitors.clickObservers(), 0u);
    EXPECT_EQ(complaints, 0);
}

} // namespace
} // namespace vintra

#include "Vintra/capturearea/ControlBar.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace vintra {
namespace {

/// Keeps what is drawn. Text is 10 high, and 5 wide for each character.
class KeptDrawing : public Drawing {
public:
    struct Shape {
        std::string kind;
        CGRect rect;
        double number = 0; ///< corner radius, or line width
        NSColor color;
        bool operator==(const Shape&) const = default;
    };
    struct Text {
        std::string text;
        CGPoint at;
        NSFont font;
        NSColor color;
        bool operator==(const Text&) const = default;
    };

    CGSize textSize(const std::string& text, const NSFont&) const override {
        int characters = 0;
        for (const char byte : text)
            characters += (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
        return {5.0 * characters, 10};
    }
    void fillRect(const CGRect& rect, double cornerRadius, const NSColor& color) override {
        shapes.push_back({"rect", rect, cornerRadius, color});
    }
    void fillAround(const CGRect&, const CGRect& outer, const NSColor& color) override {
        shapes.push_back({"around", outer, 0, color});
    }
    void strokeRect(const CGRect& rect, double lineWidth, const NSColor& color) override {
        shapes.push_back({"frame", rect, lineWidth, color});
    }
    void fillEllipse(const CGRect& in, const NSColor& color) override {
        shapes.push_back({"ellipse", in, 0, color});
    }
    void strokeEllipse(const CGRect& in, double lineWidth, const NSColor& color) override {
        shapes.push_back({"ring", in, lineWidth, color});
    }
    void drawText(const std::string& text, CGPoint at, const NSFont& font, const NSColor& color) override {
        texts.push_back({text, at, font, color});
    }

    bool has(const Shape& shape) const { return std::ranges::find(shapes, shape) != shapes.end(); }
    std::vector<Shape> shapes;
    std::vector<Text> texts;
};

constexpr CGRect kOverlay{{0, 0}, {1000, 600}};
constexpr NSColor kYellow{1, 0.8, 0};

BarState stateOf(CaptureModeChoice mode) {
    return {.mode = mode,
            .aspect = AspectPreset::widescreen,
            .frameRate = 30,
            .frameRateOptions = {24, 30, 60},
            .clicksOn = false,
            .clicksAvailable = mode != CaptureModeChoice::window,
            .clickColour = kYellow,
            .isRecording = false};
}

std::vector<ControlBar::Item> layoutOf(const BarState& state) {
    return ControlBar::layout(kOverlay, state, KeptDrawing());
}

BarAction mode(CaptureModeChoice choice) {
    return {BarAction::Mode{choice}};
}
const BarAction kAspectMenu{BarAction::AspectMenu{}};
const BarAction kFrameRateMenu{BarAction::FrameRateMenu{}};
const BarAction kClicks{BarAction::Clicks{}};
const BarAction kClickColour{BarAction::ClickColour{}};
const BarAction kDone{BarAction::Done{}};

std::vector<BarAction> actions(const BarState& state) {
    std::vector<BarAction> result;
    for (const auto& item : layoutOf(state))
        result.push_back(item.action);
    return result;
}

TEST(ControlBarTest, aRegionHasEveryButton) {
    EXPECT_EQ(actions(stateOf(CaptureModeChoice::region)),
              (std::vector<BarAction>{mode(CaptureModeChoice::fullScreen), mode(CaptureModeChoice::region),
                                      mode(CaptureModeChoice::window), kAspectMenu, kFrameRateMenu, kClicks,
                                      kClickColour, kDone}));
}

TEST(ControlBarTest, theFullScreenHasNoAspect) {
    EXPECT_EQ(actions(stateOf(CaptureModeChoice::fullScreen)),
              (std::vector<BarAction>{mode(CaptureModeChoice::fullScreen), mode(CaptureModeChoice::region),
                                      mode(CaptureModeChoice::window), kFrameRateMenu, kClicks, kClickColour,
                                      kDone}));
}

TEST(ControlBarTest, aWindowHasNoClicksAndNoSwatch) {
    EXPECT_EQ(actions(stateOf(CaptureModeChoice::window)),
              (std::vector<BarAction>{mode(CaptureModeChoice::fullScreen), mode(CaptureModeChoice::region),
                                      mode(CaptureModeChoice::window), kFrameRateMenu, kDone}));
}

TEST(ControlBarTest, whileRecordingWithoutClicksThereIsOnlyDone) {
    auto state = stateOf(CaptureModeChoice::region);
    state.isRecording = true;
    EXPECT_EQ(actions(state), (std::vector<BarAction>{kDone}));
}

TEST(ControlBarTest, whileRecordingWithClicksTheirColourCanBeChanged) {
    auto state = stateOf(CaptureModeChoice::region);
    state.isRecording = true;
    state.clicksOn = true;
    EXPECT_EQ(actions(state), (std::vector<BarAction>{kClickColour, kDone}));
    state.clicksAvailable = false;
    EXPECT_EQ(actions(state), (std::vector<BarAction>{kDone}));
}

TEST(ControlBarTest, itemsAreCentredAndStand44PointsAboveTheBottom) {
    // Widths, text × 5 + 24: "Full screen" 79, "Selected area" 89, "Window" 54, "30 fps  ⌃" 69, "Done" 44.
    // Gaps: 6, 6, 18, 18. Total 335 + 48 = 383, from 500 - 191.5.
    const auto items = layoutOf(stateOf(CaptureModeChoice::window));
    ASSERT_EQ(items.size(), 5u);
    EXPECT_EQ(items[0].rect, (CGRect{{308.5, 44}, {79, 30}}));
    EXPECT_EQ(items[1].rect, (CGRect{{393.5, 44}, {89, 30}}));
    EXPECT_EQ(items[2].rect, (CGRect{{488.5, 44}, {54, 30}}));
    EXPECT_EQ(items[3].rect, (CGRect{{560.5, 44}, {69, 30}}));
    EXPECT_EQ(items[4].rect, (CGRect{{647.5, 44}, {44, 30}}));
}

TEST(ControlBarTest, aSwatchIs30WideAndStandsCloseToItsButton) {
    // "Full screen" 79, "Selected area" 89, "Window" 54, "16:9  ⌃" 59, "30 fps  ⌃" 69, "Show clicks" 79, the
    // swatch 30, "Done" 44: 503, and gaps of 6, 6, 18, 18, 18, 6, 18: 90. From 500 - 296.5.
    const auto items = layoutOf(stateOf(CaptureModeChoice::region));
    ASSERT_EQ(items.size(), 8u);
    EXPECT_EQ(items[0].rect.minX(), 203.5);
    EXPECT_EQ(items[3].rect, (CGRect{{455.5, 44}, {59, 30}}));
    EXPECT_EQ(items[5].rect, (CGRect{{619.5, 44}, {79, 30}}));
    EXPECT_EQ(items[6].rect, (CGRect{{704.5, 44}, {30, 30}}));
    EXPECT_EQ(items[7].rect, (CGRect{{752.5, 44}, {44, 30}}));
    EXPECT_EQ(items[7].rect.maxX(), 796.5);
}

TEST(ControlBarTest, theBarFollowsTheOverlaysOrigin) {
    auto state = stateOf(CaptureModeChoice::region);
    state.isRecording = true;
    const auto items = ControlBar::layout({{100, -50}, {200, 100}}, state, KeptDrawing());
    EXPECT_EQ(items[0].rect, (CGRect{{178, -6}, {44, 30}}));
}

TEST(ControlBarTest, theContainerIsWiderThanTheItems) {
    EXPECT_EQ(ControlBar::containerRect(kOverlay, stateOf(CaptureModeChoice::window), KeptDrawing()),
              (CGRect{{298.5, 36}, {403, 46}}));
}

TEST(ControlBarTest, menusHaveAnItemForEachChoiceAndMarkTheCurrentOne) {
    const auto state = stateOf(CaptureModeChoice::region);
    const auto aspects = ControlBar::menuItems(kOverlay, state, BarMenuKind::aspect, KeptDrawing());
    ASSERT_EQ(aspects.size(), 4u);
    const char* const labels[] = {"Freeform", "16:9", "9:16", "1:1"};
    for (int n = 0; n < 4; ++n) {
        const auto& item = aspects[static_cast<size_t>(n)];
        EXPECT_EQ(item.index, n);
        EXPECT_EQ(item.title, labels[n]);
        EXPECT_EQ(item.isOn, n == 1);
    }
    const auto rates = ControlBar::menuItems(kOverlay, state, BarMenuKind::frameRate, KeptDrawing());
    ASSERT_EQ(rates.size(), 3u);
    EXPECT_EQ(rates[0].title, "24 fps");
    EXPECT_EQ(rates[1].title, "30 fps");
    EXPECT_EQ(rates[2].title, "60 fps");
    EXPECT_FALSE(rates[0].isOn);
    EXPECT_TRUE(rates[1].isOn);
    EXPECT_FALSE(rates[2].isOn);
}

TEST(ControlBarTest, menuItemsStandAboveTheirButtonOneBelowTheOther) {
    const auto state = stateOf(CaptureModeChoice::region);
    const auto button = layoutOf(state)[3].rect;
    const auto items = ControlBar::menuItems(kOverlay, state, BarMenuKind::aspect, KeptDrawing());
    for (size_t n = 0; n < items.size(); ++n) {
        EXPECT_EQ(items[n].rect.size.height, 24);
        EXPECT_GT(items[n].rect.minY(), button.maxY() + 8); // clear of the bar
        EXPECT_LE(items[n].rect.minX(), button.minX());
        EXPECT_GE(items[n].rect.maxX(), button.maxX());
        if (n > 0) {
            EXPECT_LT(items[n].rect.maxY(), items[n - 1].rect.minY()); // with a gap
        }
    }
}

TEST(ControlBarTest, theMenusCardIsFourPointsLargerThanItsItems) {
    const auto state = stateOf(CaptureModeChoice::region);
    const auto items = ControlBar::menuItems(kOverlay, state, BarMenuKind::frameRate, KeptDrawing());
    const auto card = ControlBar::menuContainer(kOverlay, state, BarMenuKind::frameRate, KeptDrawing());
    ASSERT_TRUE(card);
    EXPECT_EQ(card->minX(), items.front().rect.minX() - 4);
    EXPECT_EQ(card->maxX(), items.front().rect.maxX() + 4);
    EXPECT_EQ(card->maxY(), items.front().rect.maxY() + 4);
    EXPECT_EQ(card->minY(), items.back().rect.minY() - 4);
}

TEST(ControlBarTest, aMenuWithoutItsButtonIsNotShown) {
    const auto check = [](const BarState& state, std::optional<BarMenuKind> menu) {
        KeptDrawing drawing;
        ControlBar::drawMenu(kOverlay, state, menu, drawing);
        return ControlBar::menuItems(kOverlay, state, menu, drawing).empty() &&
               !ControlBar::menuContainer(kOverlay, state, menu, drawing) && drawing.shapes.empty() &&
               drawing.texts.empty();
    };
    EXPECT_TRUE(check(stateOf(CaptureModeChoice::region), std::nullopt));
    EXPECT_TRUE(check(stateOf(CaptureModeChoice::fullScreen), BarMenuKind::aspect));
    auto state = stateOf(CaptureModeChoice::region);
    state.isRecording = true;
    EXPECT_TRUE(check(state, BarMenuKind::frameRate));
    state = stateOf(CaptureModeChoice::region);
    state.frameRateOptions.clear();
    EXPECT_TRUE(check(state, BarMenuKind::frameRate));
}

TEST(ControlBarTest, buttonsThatAreOnAreWhiteWithBlackText) {
    auto state = stateOf(CaptureModeChoice::region);
    state.clicksOn = true;
    const auto items = layoutOf(state);
    KeptDrawing drawing;
    ControlBar::draw(kOverlay, state, drawing);
    const NSColor faint{1, 1, 1, 0.14};
    const NSColor white{1, 1, 1, 1};
    const NSColor black{0, 0, 0, 1};
    ASSERT_EQ(drawing.texts.size(), 7u);
    const bool on[] = {false, true, false, false, false, true, false, false};
    const char* const titles[] = {"Full screen", "Selected area", "Window", "16:9  ⌃",
                                  "30 fps  ⌃",   "Show clicks",   "",       "Done"};
    size_t text = 0;
    for (size_t n = 0; n < items.size(); ++n) {
        if (n == 6) continue; // the swatch
        const CGRect rect = items[n].rect;
        EXPECT_TRUE(drawing.has({"rect", rect, 6, on[n] ? white : faint})) << n;
        const auto& drawn = drawing.texts[text++];
        EXPECT_EQ(drawn.text, titles[n]);
        EXPECT_EQ(drawn.color, on[n] ? black : white);
        EXPECT_EQ(drawn.font, (NSFont{12, NSFontWeight::medium}));
        // The text is 24 narrower than its button and 20 lower.
        EXPECT_EQ(drawn.at, (CGPoint{rect.minX() + 12, rect.minY() + 10}));
    }
}

TEST(ControlBarTest, theBarLiesOnADarkStripWithLinesBetweenItsGroups) {
    const auto state = stateOf(CaptureModeChoice::window);
    KeptDrawing drawing;
    ControlBar::draw(kOverlay, state, drawing);
    EXPECT_EQ(drawing.shapes[0], (KeptDrawing::Shape{"rect", {{298.5, 36}, {403, 46}}, 10, {0, 0, 0, 0.8}}));
    // The gaps of 18 lie from 542.5 and from 629.5 on.
    EXPECT_TRUE(drawing.has({"rect", {{551, 49}, {1, 20}}, 0, {1, 1, 1, 0.18}}));
    EXPECT_TRUE(drawing.has({"rect", {{638, 49}, {1, 20}}, 0, {1, 1, 1, 0.18}}));
    EXPECT_EQ(drawing.shapes.size(), 1u + 2 + 5); // strip, lines, buttons
}

TEST(ControlBarTest, theSwatchIsARingedCircleInTheClicksColour) {
    const auto state = stateOf(CaptureModeChoice::region);
    KeptDrawing drawing;
    ControlBar::draw(kOverlay, state, drawing);
    const CGRect circle{{711.5, 51}, {16, 16}};
    EXPECT_TRUE(drawing.has({"ellipse", circle, 0, kYellow}));
    EXPECT_TRUE(drawing.has({"ring", circle, 1, {1, 1, 1, 1}}));
}

TEST(ControlBarTest, theMenuMarksTheItemThatIsOn) {
    const auto state = stateOf(CaptureModeChoice::region);
    KeptDrawing drawing;
    const auto items = ControlBar::menuItems(kOverlay, state, BarMenuKind::aspect, drawing);
    ControlBar::drawMenu(kOverlay, state, BarMenuKind::aspect, drawing);
    ASSERT_EQ(drawing.shapes.size(), 2u);
    EXPECT_EQ(drawing.shapes[0].number, 8);
    EXPECT_EQ(drawing.shapes[0].rect,
              *ControlBar::menuContainer(kOverlay, state, BarMenuKind::aspect, drawing));
    EXPECT_EQ(drawing.shapes[1].rect, items[1].rect);
    EXPECT_EQ(drawing.shapes[1].number, 5);
    ASSERT_EQ(drawing.texts.size(), 5u);
    EXPECT_EQ(drawing.texts[2].text, "✓");
    EXPECT_GT(drawing.texts[2].at.x, items[1].rect.midX());
    EXPECT_LT(drawing.texts[2].at.x + 5, items[1].rect.maxX());
}

TEST(ControlBarTest, aWindowThatCannotBeCapturedIsntOffered) {
    BarState state = stateOf(CaptureModeChoice::fullScreen);
    state.windowsAvailable = false;
    std::vector<BarAction> actions;
    for (const auto& item : layoutOf(state))
        actions.push_back(item.action);
    EXPECT_EQ(actions, (std::vector<BarAction>{mode(CaptureModeChoice::fullScreen),
                                               mode(CaptureModeChoice::region),
                                               kFrameRateMenu,
                                               kClicks,
                                               {BarAction::ClickColour{}},
                                               {BarAction::Done{}}}));
}

} // namespace
} // namespace vintra

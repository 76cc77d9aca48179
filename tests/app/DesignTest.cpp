#include "Vintra/app/DesignColor.h"
#include "Vintra/app/FlatControls.h"
#include "Vintra/app/TrackLevelMeter.h"
#include "Vintra/app/WebcamPreviewView.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace vintra {
namespace {

/// Relative luminance of an opaque colour, as contrast ratios are computed from it.
double luminance(const DesignTone& tone) {
    const auto part = [&](int shift) {
        const double value = static_cast<double>(tone.hex >> shift & 0xff) / 255;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(16) + 0.7152 * part(8) + 0.0722 * part(0);
}

double contrast(const DesignTone& a, const DesignTone& b) {
    const double lighter = std::max(luminance(a), luminance(b));
    return (lighter + 0.05) / (std::min(luminance(a), luminance(b)) + 0.05);
}

TEST(DesignTest, everyButtonCanBeRead) {
    using FlatControls::ButtonStyle;
    for (const bool hovering : {false, true}) {
        for (const ButtonStyle style : {ButtonStyle::primary, ButtonStyle::destructive}) {
            const auto colors = FlatControls::colors(style, hovering);
            EXPECT_GE(contrast(colors.fill, colors.title), 4.5) << static_cast<int>(style) << hovering;
        }
    }
    EXPECT_GE(contrast(DesignColor::bg, DesignColor::text), 7);
    EXPECT_GE(contrast(DesignColor::sectionFill, DesignColor::sectionText), 7);
}

TEST(DesignTest, hoveringOnlyChangesColours) {
    using FlatControls::ButtonStyle;
    EXPECT_EQ(FlatControls::colors(ButtonStyle::primary, false).fill, DesignColor::accent);
    EXPECT_EQ(FlatControls::colors(ButtonStyle::primary, true).fill, DesignColor::accentHover);
    EXPECT_EQ(FlatControls::colors(ButtonStyle::destructive, true).fill, DesignColor::meterRedHover);
    EXPECT_EQ(FlatControls::colors(ButtonStyle::outlined, false).stroke, DesignColor::divider);
    EXPECT_EQ(FlatControls::colors(ButtonStyle::outlined, false).fill.opacity, 0);
}

TEST(DesignTest, eachWeightHasAFace) {
    using FlatControls::FontWeight;
    EXPECT_EQ(FlatControls::helveticaFace(FontWeight::regular), "HelveticaNeue");
    for (const FontWeight weight : {FontWeight::medium, FontWeight::semibold})
        EXPECT_EQ(FlatControls::helveticaFace(weight), "HelveticaNeue-Medium");
    for (const FontWeight weight : {FontWeight::bold, FontWeight::heavy, FontWeight::black})
        EXPECT_EQ(FlatControls::helveticaFace(weight), "HelveticaNeue-Bold");
}

TEST(DesignTest, aMeterMovesWithItsOwnLevelAlone) {
    SimulatedMachine machine;
    const auto levels = LevelsModel::make(*machine.hostClock, *machine.mainThread);
    TrackLevelMeter mic(levels, LevelKey::mic(), machine.wallClock);
    TrackLevelMeter extra(levels, LevelKey::extra(machine.processInfo->makeUUID()), machine.wallClock);
    EXPECT_EQ(mic.state->bar.frame.size.width, 0);
    EXPECT_EQ(mic.state->tick, std::nullopt);
    levels->set(LevelKey::mic(), 0.5f);
    EXPECT_EQ(mic.state->bar.frame.size.width, 60);
    EXPECT_EQ(mic.state->bar.color, MeterColor::green);
    ASSERT_TRUE(mic.state->tick.has_value());
    EXPECT_EQ(mic.state->tick->frame.origin.x, 59);
    levels->set(LevelKey::mic(), 1.0f);
    EXPECT_EQ(mic.state->bar.color, MeterColor::red);
    EXPECT_EQ(extra.state->level, 0) << "no entry, an empty bar";
}

TEST(DesignTest, aMetersPeakStandsStillBetweenLevels) {
    SimulatedMachine machine;
    const auto levels = LevelsModel::make(*machine.hostClock, *machine.mainThread);
    TrackLevelMeter mic(levels, LevelKey::mic(), machine.wallClock);
    levels->set(LevelKey::mic(), 0.8f);
    const auto peak = mic.state->tick;
    machine.run(0.5);
    levels->set(LevelKey::mic(), 0.3f);
    EXPECT_EQ(mic.state->tick, peak);
    machine.run(5);
    EXPECT_EQ(mic.state->tick, peak) << "no level came";
    levels->set(LevelKey::mic(), 0.3f);
    EXPECT_EQ(mic.state->tick, std::nullopt);
    levels->set(LevelKey::mic(), 0.5f);
    EXPECT_EQ(mic.state->tick, std::nullopt) << "not as high as before";
    levels->set(LevelKey::mic(), 0.8f);
    EXPECT_EQ(mic.state->tick, peak);
}

TEST(DesignTest, aPreviewsControlsComeWithThePointer) {
    std::vector<size_t> picked;
    int closed = 0;
    WebcamPreviewView preview({.sizes = {"small", "medium", "large"},
                               .currentSize = 1,
                               .onPick = [&](size_t size) { picked.push_back(size); },
                               .onClose = [&] { ++closed; }});
    EXPECT_FALSE(preview.state().showsControls);
    EXPECT_FALSE(preview.state().showsPreviewOnly);
    preview.setHovering(true);
    EXPECT_TRUE(preview.state().showsControls);
    EXPECT_TRUE(preview.state().showsPreviewOnly);
    EXPECT_EQ(preview.state().pills,
              (std::vector<WebcamPreviewView::Pill>{
                  {"S", "small", false}, {"M", "medium", true}, {"L", "large", false}}));
    preview.pick(2);
    preview.pick(3);
    EXPECT_EQ(picked, std::vector<size_t>{2});
    preview.close();
    EXPECT_EQ(closed, 1);
    preview.setContent({.sizes = {"small"}, .isRecording = true});
    EXPECT_TRUE(preview.state().showsControls);
    EXPECT_FALSE(preview.state().showsPreviewOnly) << "the camera is being recorded";
    preview.pick(0);
    preview.close();
}

} // namespace
} // namespace vintra

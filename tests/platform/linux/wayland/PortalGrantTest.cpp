#include "Vintra/platform/linux/wayland/PortalGrant.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

WaylandOutput output(const char* name, PixelRect frame, int pixelWidth, int pixelHeight) {
    WaylandOutput made;
    made.name = name;
    made.frame = frame;
    made.pixelWidth = pixelWidth;
    made.pixelHeight = pixelHeight;
    return made;
}

const WaylandOutput kLeft = output("DP-1", {0, 0, 1920, 1080}, 1920, 1080);
const WaylandOutput kRight = output("DP-2", {1920, 0, 1920, 1080}, 1920, 1080);
const WaylandOutput kLaptop = output("eDP-1", {3840, 0, 1280, 800}, 2560, 1600);
const std::vector<WaylandOutput> kAll{kLeft, kRight, kLaptop};

using Pair = PortalScreenCast::Stream::Pair;

std::string instead(std::optional<Pair> position, std::optional<Pair> size, const WaylandOutput& chosen,
                    bool isOfWlroots = false, const std::vector<WaylandOutput>& outputs = kAll) {
    PortalScreenCast::Stream granted;
    granted.position = position;
    granted.size = size;
    return displayGrantedInstead(granted, chosen, outputs, isOfWlroots);
}

TEST(PortalGrant, theChosenDisplayIsRecognisedByItsPlace) {
    EXPECT_EQ(instead(Pair{1920, 0}, Pair{1920, 1080}, kRight), "");
    EXPECT_EQ(instead(Pair{1920, 0}, std::nullopt, kRight), "");
}

TEST(PortalGrant, anotherDisplayIsNamed) {
    EXPECT_EQ(instead(Pair{0, 0}, Pair{1920, 1080}, kRight), "the display DP-1");
    EXPECT_EQ(instead(Pair{3840, 0}, Pair{1280, 800}, kLeft), "the display eDP-1");
    EXPECT_EQ(instead(Pair{7, 7}, Pair{1920, 1080}, kLeft), "another display");
}

TEST(PortalGrant, aScaledDisplayMayBeToldInPointsOrPixels) {
    EXPECT_EQ(instead(Pair{3840, 0}, Pair{1280, 800}, kLaptop), "");
    EXPECT_EQ(instead(Pair{3840, 0}, Pair{2560, 1600}, kLaptop), "");
}

TEST(PortalGrant, aPortalThatTellsNothingIsTrusted) {
    EXPECT_EQ(instead(std::nullopt, std::nullopt, kRight), "");
}

TEST(PortalGrant, thePositionsOfThePortalForWlrootsMeanNothing) {
    EXPECT_EQ(instead(Pair{0, 0}, Pair{1920, 1080}, kRight, true), "");
    EXPECT_EQ(instead(Pair{0, 0}, Pair{2560, 1600}, kRight, true), "the display eDP-1");
}

TEST(PortalGrant, theOnlyDisplayIsNeverAnother) {
    EXPECT_EQ(instead(Pair{0, 0}, Pair{1600, 900}, kLeft, false, {kLeft}), "");
}

TEST(PortalGrant, theStreamsNameTellsTheDisplayOnKde) {
    const auto streamed = [](const std::string& name) { return displayStreamedInstead(name, kLeft, kAll); };
    EXPECT_EQ(streamed("kwin-screencast-DP-1"), "");
    EXPECT_EQ(streamed("kwin-screencast-DP-2"), "the display DP-2");
    EXPECT_EQ(streamed("kwin-screencast-"), "") << "no display is named";
    EXPECT_EQ(streamed("DP-2"), "") << "of somebody else";
    EXPECT_EQ(streamed(""), "");
}

} // namespace
} // namespace vintra

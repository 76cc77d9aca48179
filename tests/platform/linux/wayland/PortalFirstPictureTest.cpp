#include "Vintra/platform/linux/wayland/PortalFirstPicture.h"
#include "tests/platform/linux/wayland/ScreenReceiver.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

using std::chrono::milliseconds;

/// Takes what comes, and the server gets no push from anywhere else. False after that time.
template <typename Condition>
bool leftAloneUntil(ScreenReceiver& receiver, milliseconds atMost, Condition holds) {
    const auto deadline = std::chrono::steady_clock::now() + atMost;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        pollfd waiting{receiver.stream().fileDescriptor(), POLLIN, 0};
        ::poll(&waiting, 1, 5);
        receiver.stream().dispatch();
    }
    return true;
}

TEST(PortalFirstPicture, onlySendersThatBearItAreHalted) {
    EXPECT_TRUE(PortalFirstPicture::mayHalt("kwin-screencast-DP-1"));
    EXPECT_TRUE(PortalFirstPicture::mayHalt("meta-screen-cast-src"));
    EXPECT_FALSE(PortalFirstPicture::mayHalt("xdpw-stream-abcdef"));
    EXPECT_FALSE(PortalFirstPicture::mayHalt(""));
}

// Of a still screen, all there is to see is sent when the stream begins, and only then.
TEST(PortalFirstPicture, theOnlyPictureOfAStillScreenIsAskedForAgainWhereItIsLost) {
    ScriptedScreen screen({});
    ScreenReceiver receiver(screen);
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    const ScriptedScreen::Sent sent{.picture = PackedPicture(picture, {})};
    int served = 1; // the picture of the first beginning is lost
    EXPECT_TRUE(leftAloneUntil(receiver, milliseconds(20'000),
                               [&] {
                                   const int begun = screen.beginnings();
                                   if (begun > served && receiver.stream().isStreaming() && screen.send(sent))
                                       served = begun;
                                   return receiver.frames() > 0;
                               }))
        << "begun " << screen.beginnings() << " times";
    EXPECT_TRUE(receiver.copied() == picture);
}

TEST(PortalFirstPicture, aScreenWithNothingToShowIsAskedAFewTimesAndThenLeftAlone) {
    ScriptedScreen screen({});
    ScreenReceiver receiver(screen);
    ASSERT_TRUE(leftAloneUntil(receiver, milliseconds(30'000),
                               [&] { return screen.beginnings() == 4 && receiver.stream().isStreaming(); }))
        << "begun " << screen.beginnings() << " times";
    EXPECT_FALSE(leftAloneUntil(receiver, milliseconds(2500), [&] { return screen.beginnings() != 4; }));
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    EXPECT_TRUE(receiver.receive({.picture = PackedPicture(picture, {})}));
    EXPECT_TRUE(receiver.copied() == picture);
}

TEST(PortalFirstPicture, aStreamThatHasBroughtAPictureIsLeftAlone) {
    ScriptedScreen screen({});
    ScreenReceiver receiver(screen);
    ASSERT_TRUE(receiver.receive({.picture = PackedPicture(PackedPicture::motley(16, 12, 1), {})}));
    const int before = screen.beginnings();
    EXPECT_FALSE(leftAloneUntil(receiver, milliseconds(1500), [&] {
        return screen.beginnings() != before || !receiver.stream().isStreaming();
    }));
}

} // namespace
} // namespace vintra

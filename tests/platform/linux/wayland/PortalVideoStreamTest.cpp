#include "tests/platform/linux/wayland/ScreenReceiver.h"

#include <gtest/gtest.h>

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>

namespace vintra {
namespace {

constexpr spa_video_format kVideoFormats[] = {
    SPA_VIDEO_FORMAT_BGRx,       SPA_VIDEO_FORMAT_BGRA,       SPA_VIDEO_FORMAT_RGBx,
    SPA_VIDEO_FORMAT_RGBA,       SPA_VIDEO_FORMAT_xRGB,       SPA_VIDEO_FORMAT_ARGB,
    SPA_VIDEO_FORMAT_xBGR,       SPA_VIDEO_FORMAT_ABGR,       SPA_VIDEO_FORMAT_BGR,
    SPA_VIDEO_FORMAT_RGB,        SPA_VIDEO_FORMAT_xRGB_210LE, SPA_VIDEO_FORMAT_ARGB_210LE,
    SPA_VIDEO_FORMAT_xBGR_210LE, SPA_VIDEO_FORMAT_ABGR_210LE};
const EglLibraries kNoLibraries{.egl = "/no/such/libEGL.so", .gles = "/no/such/libGLESv2.so"};
constexpr uint64_t kSomeTiling = 0x0100'0000'0000'0002; // of a maker of graphics cards

ScriptedScreen::Sent sentPicture(const ScreenPicture& upright, PackedPicture::Layout layout = {}) {
    return {.picture = PackedPicture(upright, layout)};
}

/// A picture in every position that a buffer may have it in, and parts of it at several scales.
void checkEveryPosition(ScriptedScreen& screen, ScreenReceiver& receiver, spa_video_format video) {
    for (uint32_t transform = 0; transform < 8; ++transform) {
        for (const bool isUpsideDown : {false, true}) {
            SCOPED_TRACE(testing::Message() << "transform " << transform << ", upside down " << isUpsideDown);
            // The buffer is 16 × 12 whichever way the picture stands.
            const ScreenPicture upright = transform % 2 == 0 ? PackedPicture::motley(16, 12, transform)
                                                             : PackedPicture::motley(12, 16, transform);
            auto sent = sentPicture(upright, {video, transform, isUpsideDown ? 20 : 0, isUpsideDown});
            sent.offset = isUpsideDown ? 64 : 0;
            ASSERT_TRUE(receiver.receive(sent));
            EXPECT_TRUE(receiver.copied() == upright);
            const auto width = static_cast<double>(upright.width);
            EXPECT_TRUE(receiver.copied(width, CGRect{{3, 2}, {6, 8}}) == upright.part(3, 2, 6, 8));
            EXPECT_TRUE(receiver.copied(width / 2, CGRect{{1, 2}, {4, 3}}) == upright.part(2, 4, 8, 6));
            EXPECT_TRUE(receiver.copied(width / 4 * 3, CGRect{{3, 3}, {6, 3}}) == upright.part(4, 4, 8, 4));
            receiver.stream().releaseFrame();
        }
    }
    EXPECT_EQ(screen.negotiations(), 1);
}

TEST(PortalVideoStream, everyFormatInPlainMemoryIsReadToThePixelHoweverItLies) {
    for (const spa_video_format video : kVideoFormats) {
        SCOPED_TRACE(testing::Message() << "format " << video);
        ScriptedScreen screen({.offers = {{video, {}}}});
        ASSERT_NE(screen.node(), 0u);
        ScreenReceiver receiver(screen);
        checkEveryPosition(screen, receiver, video);
        EXPECT_EQ(receiver.format()->dmaBuf, std::nullopt);
    }
}

TEST(PortalVideoStream, everyFormatInLinearGraphicsMemoryIsReadToThePixelHoweverItLies) {
    for (const spa_video_format video : kVideoFormats) {
        SCOPED_TRACE(testing::Message() << "format " << video);
        ScriptedScreen screen({.offers = {{video, {kSomeTiling, kLinearModifier}}}});
        ASSERT_NE(screen.node(), 0u);
        ScreenReceiver receiver(screen);
        checkEveryPosition(screen, receiver, video);
        ASSERT_TRUE(receiver.format()->dmaBuf);
        EXPECT_EQ(receiver.format()->dmaBuf->modifier, kLinearModifier);
    }
}

TEST(PortalVideoStream, plainMemoryIsTakenWhereItIsOffered) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRA, {kLinearModifier}},
                                      {SPA_VIDEO_FORMAT_BGRx, {kSomeTiling, kLinearModifier}},
                                      {SPA_VIDEO_FORMAT_RGBx, {}}}});
    ScreenReceiver receiver(screen);
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    ASSERT_TRUE(receiver.receive(sentPicture(picture, {.video = SPA_VIDEO_FORMAT_RGBx})));
    EXPECT_EQ(receiver.format(), (PortalVideoFormat{16, 12, PortalPixels::rgbx}));
    EXPECT_TRUE(receiver.copied() == picture);
}

TEST(PortalVideoStream, anotherSizeInTheMiddleIsRead) {
    for (const bool isGraphics : {false, true}) {
        SCOPED_TRACE(isGraphics);
        const ScriptedScreen::Offer offer{SPA_VIDEO_FORMAT_BGRx, isGraphics ? std::vector{kLinearModifier}
                                                                            : std::vector<uint64_t>{}};
        ScriptedScreen screen({.offers = {offer}});
        ScreenReceiver receiver(screen);
        ASSERT_TRUE(receiver.receive(sentPicture(PackedPicture::motley(16, 12, 1))));
        screen.offer({.width = 40, .height = 30, .offers = {offer}});
        ASSERT_TRUE(receiver.await([&] { return receiver.format()->width == 40; }));
        EXPECT_EQ(receiver.stream().frame(), nullptr) << "its buffer is gone";
        const ScreenPicture larger = PackedPicture::motley(40, 30, 2);
        const auto sent = sentPicture(larger);
        const int before = receiver.frames();
        ASSERT_TRUE(receiver.await([&] { // the server may lose one while the buffers change
            screen.send(sent);
            return receiver.frames() > before;
        }));
        EXPECT_TRUE(receiver.copied() == larger);
        EXPECT_EQ(receiver.stream().end(), std::nullopt);
    }
}

TEST(PortalVideoStream, buffersWithoutAPictureAreLeftOutAndTheNextOneComes) {
    for (const auto& modifiers : {std::vector<uint64_t>{}, {kLinearModifier}}) {
        ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, modifiers}}});
        ScreenReceiver receiver(screen);
        const ScreenPicture first = PackedPicture::motley(16, 12, 1);
        ASSERT_TRUE(receiver.receive(sentPicture(first)));
        auto chunk = sentPicture(PackedPicture::motley(16, 12, 2));
        chunk.chunkFlags = SPA_CHUNK_FLAG_CORRUPTED;
        auto header = chunk;
        header.chunkFlags = 0;
        header.headerFlags = SPA_META_HEADER_FLAG_CORRUPTED;
        auto empty = header;
        empty.headerFlags = 0;
        empty.isEmpty = true;
        auto beyond = empty;
        beyond.isEmpty = false;
        beyond.picture.stride = 1'000'000; // its rows don't fit into the buffer
        int losses = 0;
        for (const auto& broken : {chunk, header, empty, beyond}) {
            ASSERT_TRUE(receiver.sendSoon(broken));
            ++losses;
            ASSERT_TRUE(receiver.await([&] { return receiver.losses() == losses; }));
            EXPECT_EQ(receiver.frames(), 1);
            EXPECT_TRUE(receiver.copied() == first);
        }
        const ScreenPicture last = PackedPicture::motley(16, 12, 3);
        ASSERT_TRUE(receiver.receive(sentPicture(last)));
        EXPECT_TRUE(receiver.copied() == last);
    }
}

TEST(PortalVideoStream, graphicsMemoryOfUntoldSizeIsRead) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {kLinearModifier}}}, .tellsSizes = false});
    ScreenReceiver receiver(screen, kNoLibraries);
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    ASSERT_TRUE(receiver.receive(sentPicture(picture)));
    EXPECT_TRUE(receiver.copied() == picture);
    EXPECT_EQ(receiver.losses(), 0);
}

/// One of the buffers can't be read: its pictures are lost, and those of the others come.
void checkThatOneBufferIsLost(const ScriptedScreen::Script& script) {
    ScriptedScreen screen(script);
    ScreenReceiver receiver(screen, kNoLibraries);
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    const auto sent = sentPicture(picture);
    ASSERT_TRUE(receiver.receive(sent));
    ASSERT_TRUE(receiver.await([&] {
        screen.send(sent);
        return receiver.losses() > 1 || receiver.stream().end();
    }));
    const int before = receiver.frames();
    ASSERT_TRUE(receiver.await([&] {
        screen.send(sent);
        return receiver.frames() > before || receiver.stream().end();
    }));
    EXPECT_TRUE(receiver.copied() == picture);
    EXPECT_EQ(receiver.stream().end(), std::nullopt);
    EXPECT_EQ(screen.negotiations(), 1);
}

TEST(PortalVideoStream, aGraphicsBufferAmongPlainOnesIsLostAlone) {
    checkThatOneBufferIsLost({.hasStrayGraphics = true});
}

TEST(PortalVideoStream, aBufferThatCannotBeMappedAmongOthersIsLostAlone) {
    checkThatOneBufferIsLost(
        {.offers = {{SPA_VIDEO_FORMAT_BGRx, {kLinearModifier}}}, .hasOneUnmappable = true});
}

TEST(PortalVideoStream, aCropOfATurnedPictureIsThePartThatShows) {
    ScriptedScreen screen({});
    ScreenReceiver receiver(screen);
    const ScreenPicture upright = PackedPicture::motley(12, 16, 1);
    auto sent = sentPicture(upright, {.transform = SPA_META_TRANSFORMATION_90});
    // Turned left once, what was at the right is at the top: the buffer's x is the picture's y.
    sent.crop = ScriptedScreen::Region{4, 2, 8, 6};
    ASSERT_TRUE(receiver.receive(sent));
    EXPECT_TRUE(receiver.copied() == upright.part(12 - 2 - 6, 4, 6, 8));
}

TEST(PortalVideoStream, whatTheDesktopOffersIsToldIfNothingIsInCommon) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_GRAY8, {}}}});
    ScreenReceiver receiver(screen, kNoLibraries);
    const std::string end = receiver.awaitEnd();
    EXPECT_TRUE(
        end.starts_with("The desktop shares the screen in no form that can be read (GRAY8 in plain memory; "
                        "/no/such/libEGL.so: cannot open"))
        << end;
    EXPECT_TRUE(end.ends_with("; install libEGL and libGLESv2, the packages libegl1 and libgles2).")) << end;
}

TEST(PortalVideoStream, theReasonWhyGraphicsMemoryCannotBeMappedIsTold) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {kLinearModifier}}}, .hasUnmappable = true});
    ScreenReceiver receiver(screen, kNoLibraries);
    ASSERT_TRUE(receiver.sendSoon(sentPicture(PackedPicture::motley(16, 12, 1))));
    const std::string end = receiver.awaitEnd();
    EXPECT_TRUE(
        end.starts_with("The desktop shares the screen in no form that can be read (BGRx in the graphics "
                        "card's memory; mmap: "))
        << end;
    EXPECT_NE(end.find("/no/such/libEGL.so"), std::string::npos) << end;
    EXPECT_EQ(receiver.frames(), 0);
}

// As a capture does it: one copier sees every frame, and copies what it takes for new.
TEST(PortalVideoStream, whateverTheDamageListSaysThePictureIsTheDesktops) {
    using Region = ScriptedScreen::Region;
    for (const auto& modifiers : {std::vector<uint64_t>{}, {kLinearModifier}}) {
        ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRA, modifiers}}});
        ScreenReceiver receiver(screen);
        PortalFrameCopier copier(
            {.sourceRect = {}, .displayWidth = 0, .queueDepth = 2, .onFree = std::make_shared<WakeUp>()});
        ScreenPicture desk = PackedPicture::motley(16, 12, 1);
        const auto show = [&](std::vector<Region> damage) {
            auto sent = sentPicture(desk, {.video = SPA_VIDEO_FORMAT_BGRA});
            sent.damage = std::move(damage);
            EXPECT_TRUE(receiver.receive(sent));
            const PortalFrame& frame = *receiver.stream().frame();
            if (!copier.look(frame)) return false;
            EXPECT_TRUE(ScreenPicture(*copier.copy(frame)) == desk);
            return true;
        };
        EXPECT_TRUE(show({}));
        const bool isCompared = modifiers.empty(); // what is slow to read isn't
        EXPECT_EQ(show({}), !isCompared);
        desk.fill(5, 5, 1, 1, 0xff0000);
        EXPECT_TRUE(show({})) << "a pointer that moved, on KWin";
        desk.fill(7, 3, 2, 2, 0x00ff00);
        EXPECT_TRUE(show({{0, 0, 0, 0}, {7, 3, 2, 2}})) << "an empty region first";
        desk.fill(0, 0, 3, 3, 0x0000ff);
        desk.fill(14, 10, 2, 2, 0xffff00);
        EXPECT_TRUE(show({{0, 0, 3, 3}, {14, 10, 2, 2}}));
        EXPECT_FALSE(show({{16, 0, 5, 5}, {0, 12, 1, 1}}) && isCompared) << "damage beyond the picture";
    }
}

TEST(PortalVideoStream, aDesktopThatHasNoMemoryForThePictureIsTold) {
    ScriptedScreen screen({.failsToAllocate = true});
    ScreenReceiver receiver(screen);
    ASSERT_TRUE(receiver.await([&] { return receiver.format().has_value(); }));
    EXPECT_EQ(
        receiver.stream().whyNoPicture(),
        "a form for it was agreed on, but the desktop provides no memory. Its graphics driver may have failed.");
}

TEST(PortalVideoStream, aDesktopThatEndsTheStreamIsTold) {
    auto screen = std::make_unique<ScriptedScreen>(ScriptedScreen::Script{});
    ScreenReceiver receiver(*screen);
    ASSERT_TRUE(receiver.receive(sentPicture(PackedPicture::motley(16, 12, 1))));
    screen->end();
    EXPECT_EQ(receiver.awaitEnd(), "The desktop no longer shares the screen.");
}

TEST(PortalVideoStream, aNodeThatIsNotThereIsToldWithPipeWiresReason) {
    PortalVideoStream stream(ScriptedScreen::remote(), 123'456'789,
                             {.onFormat = [](const PortalVideoFormat&) {},
                              .onFrame = [](const PortalFrame&) { return false; },
                              .onLoss = [] {}},
                             kNoLibraries);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!stream.end() && std::chrono::steady_clock::now() < deadline) {
        pollfd waiting{stream.fileDescriptor(), POLLIN, 0};
        ::poll(&waiting, 1, 5);
        stream.dispatch();
    }
    ASSERT_TRUE(stream.end());
    const std::string end = stream.end()->localizedDescription();
    EXPECT_TRUE(end.starts_with("The desktop no longer shares the screen (")) << end;
}

} // namespace
} // namespace vintra

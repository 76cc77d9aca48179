#include "tests/platform/linux/wayland/ScreenReceiver.h"
#include "tests/platform/linux/wayland/WaylandSession.h"
#include "tests/platform/linux/wayland/fake-graphics/FakeGraphics.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <thread>

namespace vintra {
namespace {

std::string fakeLibrary() {
    return WaylandSession::program("fake-graphics.so");
}

/// Screens whose pictures only the graphics card can read, and a card that a test stands in for.
class PortalGraphicsTest : public testing::Test {
protected:
    PortalGraphicsTest() {
        library = ::dlopen(fakeLibrary().c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library) fake = static_cast<FakeGraphics*>(::dlsym(library, FakeGraphics::kSymbol));
    }
    void SetUp() override {
        ASSERT_NE(fake, nullptr) << ::dlerror();
        fake->hasImport = fake->hasModifiers = fake->hasSurfaceless = fake->hasBgra = true;
        fake->hasSurfacelessImport = true;
        fake->blindCards = 0;
        fake->refusedModifier = ~uint64_t{0};
        fake->failsToRead = false;
        fake->reads = 0;
    }
    /// Whatever a test did, nothing of it is left and all of it was done where the context was.
    void TearDown() override {
        EXPECT_EQ(fake->images, 0);
        EXPECT_EQ(fake->contexts, 0);
        EXPECT_EQ(fake->callsElsewhere, 0);
    }
    static EglLibraries libraries() { return {.egl = fakeLibrary(), .gles = fakeLibrary()}; }

    void* library = nullptr;
    FakeGraphics* fake = nullptr;
};

/// As the card lays a picture.
ScriptedScreen::Sent laid(const ScreenPicture& upright, uint64_t modifier,
                          PackedPicture::Layout layout = {}) {
    ScriptedScreen::Sent sent{.picture = PackedPicture(upright, layout)};
    const std::vector<uint8_t> rows = sent.picture.bytes;
    const auto width = static_cast<size_t>(sent.picture.width);
    const auto height = static_cast<size_t>(sent.picture.height);
    if (modifier == FakeGraphics::kTwoPlanes) {
        sent.picture.bytes.clear();
        for (size_t y = 0; y < height; ++y) {
            auto& plane = y % 2 == 0 ? sent.picture.bytes : sent.secondPlane;
            plane.insert(plane.end(), &rows[y * width * 4], &rows[y * width * 4] + width * 4);
        }
    } else if (modifier != kLinearModifier) {
        for (size_t y = 0; y < height; ++y)
            for (size_t x = 0; x < width; ++x)
                std::copy_n(&rows[(y * width + x) * 4], 4,
                            &sent.picture.bytes[4 * FakeGraphics::tiledIndex(x, y, width)]);
    }
    return sent;
}

TEST_F(PortalGraphicsTest, tiledPicturesAreReadToThePixelHoweverTheyAreTurned) {
    for (const bool hasBgra : {true, false}) {
        for (const spa_video_format video : {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_RGBx}) {
            SCOPED_TRACE(testing::Message() << "format " << video << ", BGRA " << hasBgra);
            fake->hasBgra = hasBgra;
            ScriptedScreen screen({.offers = {{video, {FakeGraphics::kTiled}}}});
            ScreenReceiver receiver(screen, libraries());
            for (uint32_t transform = 0; transform < 8; ++transform) {
                SCOPED_TRACE(transform);
                const ScreenPicture upright = transform % 2 == 0 ? PackedPicture::motley(16, 12, transform)
                                                                 : PackedPicture::motley(12, 16, transform);
                auto sent = laid(upright, FakeGraphics::kTiled, {.video = video, .transform = transform});
                sent.offset = transform * 4;
                ASSERT_TRUE(receiver.receive(sent));
                EXPECT_TRUE(receiver.copied() == upright);
                EXPECT_TRUE(receiver.copied(upright.width, CGRect{{3, 2}, {6, 8}}) ==
                            upright.part(3, 2, 6, 8));
            }
            EXPECT_EQ(screen.agreedModifier(), FakeGraphics::kTiled);
        }
    }
}

TEST_F(PortalGraphicsTest, aPictureInSeveralPlanesIsRead) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTwoPlanes}}}, .planes = 2});
    ScreenReceiver receiver(screen, libraries());
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    ASSERT_TRUE(receiver.receive(laid(picture, FakeGraphics::kTwoPlanes)));
    EXPECT_TRUE(receiver.copied() == picture);
}

TEST_F(PortalGraphicsTest, theDesktopChoosesAmongTheModifiersThatCanBeRead) {
    ScriptedScreen screen(
        {.offers = {{SPA_VIDEO_FORMAT_BGRx,
                     {FakeGraphics::kExternalOnly, FakeGraphics::kTiled, FakeGraphics::kTwoPlanes}}},
         .preferredModifier = FakeGraphics::kTwoPlanes,
         .planes = 2});
    ScreenReceiver receiver(screen, libraries());
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    ASSERT_TRUE(receiver.receive(laid(picture, FakeGraphics::kTwoPlanes)));
    EXPECT_EQ(screen.agreedModifier(), FakeGraphics::kTwoPlanes);
    EXPECT_TRUE(receiver.copied() == picture);
}

TEST_F(PortalGraphicsTest, anImplicitModifierIsTakenWhereTheCardImportsIt) {
    for (const bool hasModifiers : {true, false}) {
        SCOPED_TRACE(hasModifiers);
        fake->hasModifiers = hasModifiers;
        ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {kImplicitModifier}}}});
        ScreenReceiver receiver(screen, libraries());
        const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
        ASSERT_TRUE(receiver.receive(laid(picture, kImplicitModifier)));
        EXPECT_EQ(screen.agreedModifier(), kImplicitModifier);
        EXPECT_TRUE(receiver.copied() == picture);
    }
}

TEST_F(PortalGraphicsTest, theCardIsLeftAloneWhereTheMemoryCanBeMapped) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled, kLinearModifier}}}});
    ScreenReceiver receiver(screen, libraries());
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    ASSERT_TRUE(receiver.receive(laid(picture, kLinearModifier)));
    EXPECT_TRUE(receiver.copied() == picture);
    EXPECT_EQ(screen.agreedModifier(), kLinearModifier);
    EXPECT_EQ(fake->contexts, 0);
}

TEST_F(PortalGraphicsTest, aPictureIsReadOnceForEachFrameAndOnlyIfItIsCopied) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled}}}});
    ScreenReceiver receiver(screen, libraries());
    for (uint32_t i = 1; i <= 12; ++i) { // more than there are buffers
        const ScreenPicture picture = PackedPicture::motley(16, 12, i);
        ASSERT_TRUE(receiver.receive(laid(picture, FakeGraphics::kTiled)));
        EXPECT_EQ(fake->reads, static_cast<int>(i) - 1);
        EXPECT_TRUE(receiver.copied() == picture);
        EXPECT_TRUE(receiver.copied() == picture);
        EXPECT_EQ(fake->reads, static_cast<int>(i));
    }
    EXPECT_LE(fake->images, 8) << "one for each buffer";
}

TEST_F(PortalGraphicsTest, aModifierThatCannotBeImportedAfterAllGivesWayToAnother) {
    fake->refusedModifier = FakeGraphics::kTwoPlanes;
    const ScriptedScreen::Script script{
        .offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTwoPlanes, FakeGraphics::kTiled}}},
        .preferredModifier = FakeGraphics::kTwoPlanes};
    ScriptedScreen screen(script);
    ScreenReceiver receiver(screen, libraries());
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    const auto sent = laid(picture, FakeGraphics::kTiled);
    ASSERT_TRUE(receiver.await([&] {
        screen.send(sent);
        return receiver.frames() > 0 || receiver.stream().end();
    }));
    EXPECT_EQ(receiver.stream().end(), std::nullopt);
    EXPECT_EQ(screen.agreedModifier(), FakeGraphics::kTiled);
    EXPECT_TRUE(receiver.copied() == picture);
}

TEST_F(PortalGraphicsTest, aPictureThatNothingCanImportEndsTheStreamWithTheReason) {
    fake->refusedModifier = FakeGraphics::kTiled;
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled}}}});
    ScreenReceiver receiver(screen, libraries());
    ASSERT_TRUE(receiver.sendSoon(laid(PackedPicture::motley(16, 12, 1), FakeGraphics::kTiled)));
    EXPECT_EQ(
        receiver.awaitEnd(),
        "The desktop shares the screen in no form that can be read (BGRx in the graphics card's memory; "
        "eglCreateImageKHR: error 0x3009).");
    EXPECT_EQ(receiver.frames(), 0);
}

TEST_F(PortalGraphicsTest, linearMemoryThatCannotBeMappedIsImported) {
    // The card could, if the memory were there: what matters is that it is asked.
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {kLinearModifier}}}, .hasUnmappable = true});
    ScreenReceiver receiver(screen, libraries());
    ASSERT_TRUE(receiver.receive(laid(PackedPicture::motley(16, 12, 1), kLinearModifier)));
    EXPECT_EQ(fake->images, 1);
    receiver.stream().releaseFrame();
}

TEST_F(PortalGraphicsTest, whatTheCardLacksIsTold) {
    const auto end = [](const EglLibraries& given) {
        ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled}}}});
        ScreenReceiver receiver(screen, given);
        return receiver.awaitEnd();
    };
    const std::string begin =
        "The desktop shares the screen in no form that can be read (BGRx in the graphics card's memory";
    fake->hasImport = false;
    EXPECT_EQ(end(libraries()), begin + "; EGL has no EGL_EXT_image_dma_buf_import).");
    fake->hasImport = true;
    fake->hasModifiers = false;
    EXPECT_EQ(end(libraries()), begin + ").") << "it knows no tiling by name";
    const std::string missing = end({.egl = "/no/such/libEGL.so", .gles = fakeLibrary()});
    EXPECT_TRUE(missing.starts_with(begin + "; /no/such/libEGL.so: cannot open shared object file"))
        << missing;
    EXPECT_EQ(end({.egl = fakeLibrary(), .gles = "libpipewire-0.3.so.0"}),
              begin + "; the graphics library has no glGetString).");
}

TEST_F(PortalGraphicsTest, aCardWithoutADisplayOfItsOwnIsUsedAsADevice) {
    fake->hasSurfaceless = false;
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled}}}});
    ScreenReceiver receiver(screen, libraries());
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    ASSERT_TRUE(receiver.receive(laid(picture, FakeGraphics::kTiled)));
    EXPECT_TRUE(receiver.copied() == picture);
}

TEST_F(PortalGraphicsTest, aDesktopThatDecidesOnNoModifierIsTold) {
    ScriptedScreen screen(
        {.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled, FakeGraphics::kTwoPlanes}}},
         .decides = false});
    ScreenReceiver receiver(screen, libraries());
    EXPECT_TRUE(receiver.await([&] {
        return receiver.stream().whyNoPicture().starts_with(
            "a form for it was agreed on, but the desktop provides no memory");
    })) << receiver.stream().whyNoPicture();
}

TEST_F(PortalGraphicsTest, theFirstDisplayThatCanImportIsUsed) {
    fake->hasSurfacelessImport = false;
    fake->blindCards = 2;
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled}}}});
    ScreenReceiver receiver(screen, libraries());
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    ASSERT_TRUE(receiver.receive(laid(picture, FakeGraphics::kTiled)));
    EXPECT_TRUE(receiver.copied() == picture);
}

TEST_F(PortalGraphicsTest, aStreamThatEndsOnAThreadWithAContextOfItsOwnLeavesThatInPlace) {
    const auto makeCurrent = reinterpret_cast<decltype(&eglMakeCurrent)>(::dlsym(library, "eglMakeCurrent"));
    const auto context =
        reinterpret_cast<decltype(&eglGetCurrentContext)>(::dlsym(library, "eglGetCurrentContext"));
    const auto surface =
        reinterpret_cast<decltype(&eglGetCurrentSurface)>(::dlsym(library, "eglGetCurrentSurface"));
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled}}}});
    auto receiver = std::make_unique<ScreenReceiver>(screen, libraries());
    ASSERT_TRUE(receiver->receive(laid(PackedPicture::motley(16, 12, 1), FakeGraphics::kTiled)));
    receiver->stream().leaveThread();
    EXPECT_EQ(context(), EGL_NO_CONTEXT);
    std::thread([&] {
        int display = 0, drawn = 0, read = 0, drawing = 0;
        makeCurrent(&display, &drawn, &read, &drawing);
        receiver.reset();
        EXPECT_EQ(context(), &drawing);
        EXPECT_EQ(surface(EGL_DRAW), &drawn);
        EXPECT_EQ(surface(EGL_READ), &read);
    }).join();
}

TEST_F(PortalGraphicsTest, aStreamThatGoesToAnotherThreadTakesItsContextAlong) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled}}}});
    auto receiver = std::make_unique<ScreenReceiver>(screen, libraries());
    const ScreenPicture picture = PackedPicture::motley(16, 12, 1);
    ASSERT_TRUE(receiver->receive(laid(picture, FakeGraphics::kTiled)));
    receiver->stream().leaveThread();
    std::thread([&] {
        receiver->enterThread();
        EXPECT_TRUE(receiver->copied() == picture);
        const ScreenPicture next = PackedPicture::motley(16, 12, 2);
        EXPECT_TRUE(receiver->receive(laid(next, FakeGraphics::kTiled)));
        EXPECT_TRUE(receiver->copied() == next);
        receiver.reset();
    }).join();
}

TEST_F(PortalGraphicsTest, aCardThatStopsReadingIsAProblemOfTheCapture) {
    ScriptedScreen screen({.offers = {{SPA_VIDEO_FORMAT_BGRx, {FakeGraphics::kTiled}}}});
    ScreenReceiver receiver(screen, libraries());
    ASSERT_TRUE(receiver.receive(laid(PackedPicture::motley(16, 12, 1), FakeGraphics::kTiled)));
    fake->failsToRead = true;
    PortalFrameCopier copier(
        {.sourceRect = {}, .displayWidth = 0, .queueDepth = 1, .onFree = std::make_shared<WakeUp>()});
    ASSERT_TRUE(copier.look(*receiver.stream().frame()));
    EXPECT_EQ(copier.copy(*receiver.stream().frame()), nullptr);
    ASSERT_TRUE(copier.problem());
    EXPECT_EQ(copier.problem()->localizedDescription(),
              "The picture of the screen can't be read from the graphics card (glReadPixels: error 0x502).");
}

} // namespace
} // namespace vintra

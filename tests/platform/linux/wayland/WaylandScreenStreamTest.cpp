#include "tests/platform/linux/wayland/WaylandScreenFixture.h"

#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include <fstream>
#include <random>

namespace vintra {

using WaylandScreenStreamTest = WaylandScreenFixture;

TEST_F(WaylandScreenStreamTest, aDrawnRectangleArrivesWithItsExactPixels) {
    const auto stream = run();
    ScreenPicture expected(640, 480);
    EXPECT_TRUE(newestPicture() == expected);
    paint({101, 53, 77, 31}, 0x12abef);
    expected.fill(101, 53, 77, 31, 0x12abef);
    EXPECT_TRUE(waitForPicture(expected));
    paint({0, 479, 640, 1}, 0xff0000);
    expected.fill(0, 479, 640, 1, 0xff0000);
    EXPECT_TRUE(waitForPicture(expected));
    stop(*stream);
}

TEST_F(WaylandScreenStreamTest, thePictureIsTheOneThatAnotherProgramSees) {
    for (int y = 0; y < 480; ++y) {
        for (int x = 0; x < 640; ++x)
            window->row(y)[x] = static_cast<uint32_t>(x * 255 / 639) << 16 |
                                static_cast<uint32_t>(y * 255 / 479) << 8 |
                                static_cast<uint32_t>((x ^ y) & 255);
    }
    window->touched({0, 0, 640, 480});
    window->showAndAwaitFrame();
    const auto stream = run();
    const ScreenPicture seen = WaylandSession::screenshot(kDisplay);
    ASSERT_EQ(seen.width, 640);
    EXPECT_TRUE(waitForPicture(seen) || newestPicture() == seen);
    stop(*stream);
}

TEST_F(WaylandScreenStreamTest, onlyThePartAskedForIsCaptured) {
    paint({101, 51, 1, 1}, 0xff0000);
    paint({299, 149, 1, 1}, 0x00ff00);
    window->showAndAwaitFrame();
    configuration.sourceRect = CGRect{{101, 51}, {199, 99}};
    const auto stream = run();
    ScreenPicture expected(199, 99);
    expected.fill(0, 0, 1, 1, 0xff0000);
    expected.fill(198, 98, 1, 1, 0x00ff00);
    EXPECT_TRUE(newestPicture() == expected || waitForPicture(expected));
    // The compositor may still tell of what was painted before; what changes outside tells of nothing ever.
    bool isLeftOut = false;
    for (uint32_t tries = 0; tries < 5 && !isLeftOut; ++tries) {
        ASSERT_TRUE(waitForRest());
        const size_t frames = collector->samples().size();
        // One box: the smallest rectangle around all that changed since its last frame is told.
        window->fill({0, 150, 640, 330}, 0xffffff - tries);
        window->showAndAwaitFrame();
        clock.sleep(200'000);
        isLeftOut = collector->samples().size() == frames;
    }
    EXPECT_TRUE(isLeftOut);
    paint({91, 41, 20, 20}, 0x0000ff);
    expected.fill(0, 0, 10, 10, 0x0000ff);
    EXPECT_TRUE(waitForPicture(expected));
    EXPECT_TRUE(WaylandSession::screenshot(kDisplay).part(101, 51, 199, 99) == expected);
    stop(*stream);
}

TEST_F(WaylandScreenStreamTest, anAreaOutsideOfTheDisplayEndsTheStreamInASentence) {
    configuration.sourceRect = CGRect{{640, 0}, {100, 100}};
    const auto stream = makeStream();
    const auto error = start(*stream);
    if (!error) {
        ASSERT_TRUE(waitUntil([this] { return !listener->errors().empty(); }));
    }
    EXPECT_EQ((error ? *error : listener->errors().front()).localizedDescription(),
              "The area to record lies outside of its display.");
}

TEST_F(WaylandScreenStreamTest, aScaledDisplayIsCapturedInItsPixels) {
    ASSERT_TRUE(WaylandSession::sway({"output", kDisplay, "scale", "2"}));
    ASSERT_TRUE(waitUntil([this] { return display().width == 320; }));
    configuration.sourceRect = CGRect{{10, 20}, {100, 50}};
    const auto stream = run();
    EXPECT_EQ(newestPicture()->width, 200);
    EXPECT_EQ(newestPicture()->height, 100);
    EXPECT_TRUE(waitForPicture(WaylandSession::screenshot(kDisplay).part(20, 40, 200, 100)) ||
                newestPicture() == WaylandSession::screenshot(kDisplay).part(20, 40, 200, 100));
    stop(*stream);
    ASSERT_TRUE(WaylandSession::sway({"output", kDisplay, "scale", "1"}));
    ASSERT_TRUE(waitUntil([this] { return display().width == 640; }));
}

TEST_F(WaylandScreenStreamTest, aTurnedDisplayIsUpright) {
    for (const char* const transform : {"90", "180", "270", "flipped", "flipped-90"}) {
        SCOPED_TRACE(transform);
        ASSERT_TRUE(WaylandSession::sway({"output", kDisplay, "transform", transform}));
        const bool isUpright =
            std::string(transform).find('0') == std::string::npos || transform == std::string("180");
        const int width = isUpright ? 640 : 480;
        ASSERT_TRUE(waitUntil([&] {
            window->show(); // adopts the size once it is told
            return display().width == width && window->width() == width;
        }));
        window->fill({0, 0, window->width(), window->height()}, 0x202020);
        window->fill({10, 20, 100, 50}, 0xff0000);
        window->fill({300, 30, 40, 90}, 0x00ff00);
        window->touched({0, 0, window->width(), window->height()});
        window->showAndAwaitFrame();
        const auto stream = run();
        const ScreenPicture seen = WaylandSession::screenshot(kDisplay);
        EXPECT_EQ(seen.width, width);
        EXPECT_TRUE(newestPicture() == seen || waitForPicture(seen));
        // All of it, since sway 1.7 paints a part of a display on its side anew in a wrong place.
        window->fill({200, 200, 30, 10}, 0x0000ff);
        window->touched({0, 0, window->width(), window->height()});
        window->showAndAwaitFrame();
        EXPECT_TRUE(waitUntil([&] { return !(WaylandSession::screenshot(kDisplay) == seen); }));
        const ScreenPicture after = WaylandSession::screenshot(kDisplay);
        EXPECT_TRUE(newestPicture() == after || waitForPicture(after));
        stop(*stream);
    }
    ASSERT_TRUE(WaylandSession::sway({"output", kDisplay, "transform", "normal"}));
    ASSERT_TRUE(waitUntil([this] { return display().width == 640; }));
}

TEST_F(WaylandScreenStreamTest, aChangedSizeGoesIntoThePictures) {
    const auto stream = run();
    ASSERT_TRUE(WaylandSession::resize(kDisplay, 801, 601));
    EXPECT_TRUE(
        waitUntil([this] { return newestPicture()->width == 800 && newestPicture()->height == 600; }));
    ASSERT_TRUE(waitUntil([this] {
        window->show(); // adopts the size once it is told
        return window->width() == 801;
    }));
    // The odd row and column, which no encoder takes, are left out.
    paint({799, 599, 2, 2}, 0xabcdef);
    EXPECT_TRUE(waitForColour(799, 599, 0xabcdef));
    ASSERT_TRUE(WaylandSession::resize(kDisplay, 640, 480));
    EXPECT_TRUE(waitUntil([this] { return newestPicture()->width == 640; }));
    stop(*stream);
    EXPECT_TRUE(listener->errors().empty());
}

TEST_F(WaylandScreenStreamTest, aStillScreenWakesNobody) {
    const auto stream = run();
    paint({0, 0, 10, 10}, 0x00ff00);
    ASSERT_TRUE(waitForColour(5, 5, 0x00ff00));
    bool isAsleep = false;
    for (int tries = 0; tries < 5 && !isAsleep; ++tries) {
        ASSERT_TRUE(waitForRest());
        const size_t frames = collector->samples().size();
        const uint64_t before = stream->wakeUps();
        clock.sleep(1'000'000);
        // If the compositor told of something after all, it wasn't still.
        isAsleep = collector->samples().size() == frames;
        if (isAsleep) {
            EXPECT_EQ(stream->wakeUps(), before);
        }
    }
    EXPECT_TRUE(isAsleep);
    stop(*stream);
}

TEST_F(WaylandScreenStreamTest, framesComeNoCloserThanTheIntervalThoughThePictureChangesMoreOften) {
    configuration.minimumFrameInterval = CMTimeMake(1, 20);
    configuration.queueDepth = 50;
    const auto stream = run();
    const CMTime begin = clock.now();
    for (uint32_t i = 1; clock.now() < begin + CMTimeMake(1, 1); ++i) {
        window->fill({0, 0, 100, 100}, i);
        window->showAndAwaitFrame();
    }
    stop(*stream);
    queue->sync([] {});
    const auto samples = collector->samples();
    EXPECT_LE(samples.size(), 23u); // those before the second, then 20 of it
    EXPECT_GT(samples.size(), 5u);
    for (size_t i = 1; i < samples.size(); ++i) {
        const CMTime apart = samples[i].presentationTimeStamp() - samples[i - 1].presentationTimeStamp();
        EXPECT_GE(apart, CMTimeMake(1, 20)) << describe(apart);
    }
}

TEST_F(WaylandScreenStreamTest, thePictureAfterABurstIsTheLastOne) {
    collector->keepOnly(2);
    const auto stream = run();
    for (uint32_t i = 1; i <= 60; ++i)
        paint({0, 0, 640, 480}, i);
    EXPECT_TRUE(waitForColour(639, 479, 60));
    stop(*stream);
}

// Pictures are used again and only what changed is copied into them, so what each still holds of earlier
// frames must never show.
TEST_F(WaylandScreenStreamTest, afterRandomDrawingThePictureIsThatOfTheScreen) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto upTo = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    configuration.minimumFrameInterval = CMTimeMake(1, 240);
    ScreenPicture expected(640, 480);
    collector->keepOnly(3);
    const auto stream = run();
    for (int round = 0; round < 40; ++round) {
        for (int i = upTo(8); i >= 0; --i) {
            const int x = upTo(640), y = upTo(480), width = 1 + upTo(300), height = 1 + upTo(200);
            const auto colour = static_cast<uint32_t>(random()) & 0xffffff;
            window->fill({x, y, width, height}, colour);
            expected.fill(x, y, width, height, colour);
        }
        window->show();
        ASSERT_TRUE(waitForPicture(expected)) << "round " << round;
        collector->keepOnly(static_cast<size_t>(1 + upTo(5)));
    }
    stop(*stream);
}

TEST_F(WaylandScreenStreamTest, framesAreLeftOutWhileEveryPictureIsHeldAndTheLastPictureComesAfterwards) {
    configuration.queueDepth = 3;
    const auto stream = run();
    uint32_t colour = 0;
    while (stream->framesLeftOut() == 0 && colour < 500) {
        window->fill({0, 0, 640, 480}, ++colour);
        window->showAndAwaitFrame();
    }
    EXPECT_EQ(stream->framesLeftOut(), 1u);
    EXPECT_EQ(stream->framesSent(), 3u + 16 + 5) << "on their way, waiting, in use";
    for (int i = 0; i < 20; ++i) {
        window->fill({0, 0, 640, 480}, ++colour);
        window->showAndAwaitFrame();
    }
    EXPECT_EQ(stream->framesSent(), 3u + 16 + 5) << "on their way, waiting, in use";
    queue->sync([] {});
    collector->forget();
    EXPECT_TRUE(waitForColour(320, 240, colour));
    stop(*stream);
}

TEST_F(WaylandScreenStreamTest, aStoppedStreamCanStartAgain) {
    const auto stream = run();
    stop(*stream);
    EXPECT_EQ(start(*stream), std::nullopt);
    EXPECT_TRUE(waitUntil([this] {
        paint({0, 0, 10, 10}, 0x654321);
        return newestPicture()->at(0, 0) == 0x654321;
    }));
    stop(*stream);
}

TEST_F(WaylandScreenStreamTest, aStreamThatNeverStartedStopsAtOnce) {
    stop(*makeStream());
}

TEST_F(WaylandScreenStreamTest, aSecondStartIsRefusedAndTheFirstGoesOn) {
    const auto stream = run();
    EXPECT_TRUE(start(*stream).has_value());
    paint({0, 0, 10, 10}, 0x123456);
    EXPECT_TRUE(waitForColour(0, 0, 0x123456));
    stop(*stream);
}

TEST_F(WaylandScreenStreamTest, aWindowByNumberIsRefusedInASentence) {
    try {
        WaylandScreenCapture(desktop).makeStream(
            {SCContentFilter::DesktopIndependentWindow{{.windowID = 7, .frame = {}, .title = {}}}},
            configuration, listener);
        FAIL() << "not refused";
    } catch (const SystemError& error) {
        EXPECT_EQ(
            error.localizedDescription(),
            "On a Wayland desktop no program can name a window to record: only the desktop's own question "
            "lets one be chosen. Record the display, or a region of it.");
    }
    EXPECT_TRUE(content().content.windows.empty());
}

TEST_F(WaylandScreenStreamTest, aFilterThatLeavesAProgramOutIsRefusedInASentence) {
    EXPECT_TRUE(content().content.applications.empty());
    try {
        WaylandScreenCapture(desktop).makeStream({SCContentFilter::Display{display(), {{1, "any"}}, {}}},
                                                 configuration, listener);
        FAIL() << "not refused";
    } catch (const SystemError& error) {
        EXPECT_EQ(error.localizedDescription(),
                  "A program's windows can't be left out of a recording on this desktop. "
                  "Move them off what is recorded.");
    }
}

TEST_F(WaylandScreenStreamTest, aDisplayThatTheUserDoesNotGrantIsToldInASentence) {
    WaylandSession::choose("");
    const auto error = start(*makeStream());
    ASSERT_TRUE(error.has_value());
    EXPECT_TRUE(error->localizedDescription().starts_with("The screen wasn't shared: the desktop"))
        << error->localizedDescription();
    WaylandSession::choose(kDisplay);
    stop(*run());
}

TEST_F(WaylandScreenStreamTest, aDisplayThatWasGrantedOnceIsNotAskedForAgain) {
    stop(*run());
    WaylandSession::choose(""); // who is asked now refuses
    for (const uint32_t colour : {0x111111u, 0x222222u}) {
        // This portal's first frame tells what changed since the capture before, if anything did.
        paint({0, 0, 10, 10}, colour);
        stop(*run());
    }
    const std::string kept = folder.read("tokens");
    EXPECT_TRUE(kept.starts_with("HEADLESS-1\t")) << kept;
    std::ofstream(folder.file("tokens").path()) << "";
    EXPECT_TRUE(start(*makeStream()).has_value());
}

TEST_F(WaylandScreenStreamTest, withoutASessionBusTheSentenceSaysSo) {
    desktop.busAddress = "unix:path=" + folder.file("no-bus").path();
    const auto error = start(*makeStream());
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->localizedDescription(),
              "The screen can't be recorded: there is no session bus. Start Vintra "
              "inside of the desktop's session.");
}

TEST_F(WaylandScreenStreamTest, withoutACompositorThereAreNoDisplaysAndTheSentenceSaysWhy) {
    desktop.displayName = folder.file("no-compositor").path();
    const auto read = content();
    EXPECT_TRUE(read.content.displays.empty());
    ASSERT_TRUE(read.error.has_value());
    EXPECT_EQ(read.error->localizedDescription(),
              "No Wayland compositor answers. Start Vintra inside of the desktop's session.");
    EXPECT_FALSE(isWaylandReachable(desktop.displayName));
    EXPECT_TRUE(isWaylandReachable());
}

} // namespace vintra

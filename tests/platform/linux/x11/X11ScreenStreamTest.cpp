#include "tests/platform/linux/x11/X11ScreenFixture.h"
#include "tests/support/ChildProcess.h"

#include <atomic>
#include <csignal>
#include <random>
#include <thread>
#include <unistd.h>

namespace vintra {
namespace {

/// The pictures a capture has beside those on their way to the output: sixteen that may wait for the encoder, and
/// five that are in use.
constexpr size_t kBeyondTheQueue = 16 + 5;

} // namespace

using X11ScreenStreamTest = X11ScreenFixture;

TEST_F(X11ScreenStreamTest, aDrawnRectangleArrivesWithItsExactPixels) {
    const auto stream = run();
    ScreenPicture expected(640, 480);
    EXPECT_EQ(newestPicture(), expected);
    painter.fill(101, 53, 77, 31, 0x12abef);
    expected.fill(101, 53, 77, 31, 0x12abef);
    EXPECT_TRUE(waitForPicture(expected));
    painter.fill(0, 479, 640, 1, 0xff0000);
    expected.fill(0, 479, 640, 1, 0xff0000);
    EXPECT_TRUE(waitForPicture(expected));
    stop(*stream);
}

TEST_F(X11ScreenStreamTest, aStillScreenWakesNobody) {
    configuration.showsCursor = true;
    const auto stream = run();
    painter.fill(0, 0, 10, 10, 0x00ff00);
    ASSERT_TRUE(waitForColour(5, 5, 0x00ff00));
    clock.sleep(100'000); // the look that follows the newest frame by an interval
    const uint64_t before = stream->wakeUps();
    clock.sleep(1'000'000);
    EXPECT_EQ(stream->wakeUps(), before);
    EXPECT_EQ(collector->samples().size(), 2u);
    stop(*stream);
}

TEST_F(X11ScreenStreamTest, drawingWithoutPauseGivesNoMoreThanAFrameAndTwoWakeUpsAnInterval) {
    configuration.minimumFrameInterval = CMTimeMake(1, 20);
    configuration.queueDepth = 20;
    const auto stream = run();
    const CMTime begin = clock.now();
    for (int i = 1; clock.now() < begin + CMTimeMake(1, 2); ++i) {
        painter.fill(0, 0, 100, 100, static_cast<uint32_t>(i));
    }
    stop(*stream);
    queue->sync([] {});
    const auto samples = collector->samples();
    EXPECT_LE(samples.size(), 12u); // the first, then 0.5 s of 20 a second
    EXPECT_GT(samples.size(), 2u);
    EXPECT_LE(stream->wakeUps(), 2 * samples.size() + 2);
    for (size_t i = 1; i < samples.size(); ++i) {
        const CMTime apart = samples[i].presentationTimeStamp() - samples[i - 1].presentationTimeStamp();
        EXPECT_GE(apart, CMTimeMake(1, 20)) << describe(apart);
    }
}

TEST_F(X11ScreenStreamTest, thePictureAfterABurstIsTheLastOne) {
    collector->keepOnly(2);
    const auto stream = run();
    for (uint32_t i = 1; i <= 200; ++i)
        painter.fill(0, 0, 640, 480, i);
    EXPECT_TRUE(waitForColour(639, 479, 200));
    stop(*stream);
}

// Pictures are used again and only what changed is read into them, so what each still holds of earlier frames
// must never show.
TEST_F(X11ScreenStreamTest, afterRandomDrawingAndPointingThePictureIsThatOfTheScreen) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto upTo = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    configuration.showsCursor = true;
    configuration.minimumFrameInterval = CMTimeMake(1, 240);
    constexpr int kPointer = 24;
    painter.setSquarePointer(kPointer, 0xff445566);
    ScreenPicture screen(640, 480);
    collector->keepOnly(3);
    const auto stream = run();
    for (int round = 0; round < 60; ++round) {
        for (int i = upTo(8); i >= 0; --i) {
            const int x = upTo(640), y = upTo(480), width = 1 + upTo(300), height = 1 + upTo(200);
            const auto colour = static_cast<uint32_t>(random()) & 0xffffff;
            painter.fill(x, y, width, height, colour);
            screen.fill(x, y, width, height, colour);
        }
        const int pointerX = upTo(640), pointerY = upTo(480);
        painter.movePointer(pointerX, pointerY);
        ScreenPicture expected = screen;
        expected.fill(pointerX, pointerY, kPointer, kPointer, 0x445566);
        ASSERT_TRUE(waitForPicture(expected)) << "round " << round;
        collector->keepOnly(static_cast<size_t>(1 + upTo(5)));
    }
    stop(*stream);
}

TEST_F(X11ScreenStreamTest, framesAreLeftOutWhileEveryPictureIsHeldAndTheLastPictureComesAfterwards) {
    configuration.queueDepth = 3;
    const auto stream = run();
    uint32_t colour = 0;
    while (stream->framesLeftOut() == 0 && colour < 5000) {
        painter.fill(0, 0, 640, 480, ++colour);
        clock.sleep(2000);
    }
    EXPECT_EQ(stream->framesLeftOut(), 1u);
    const size_t pictures = 3 + kBeyondTheQueue;
    EXPECT_EQ(stream->framesSent(), pictures);
    queue->sync([] {});
    EXPECT_EQ(collector->samples().size(), pictures);
    const CMTime newest = collector->samples().back().presentationTimeStamp();
    clock.sleep(200'000);
    const uint64_t wakeUps = stream->wakeUps();
    for (int i = 0; i < 100; ++i)
        painter.fill(0, 0, 640, 480, ++colour);
    EXPECT_EQ(stream->wakeUps(), wakeUps);
    collector->forget();
    EXPECT_TRUE(waitForColour(320, 240, colour));
    EXPECT_EQ(collector->samples().size(), 1u);
    stop(*stream);
    // What was left out is told: from the frame that found no picture up to the one that did.
    queue->sync([] {});
    ASSERT_EQ(collector->missed().size(), 1u);
    const SCMissedFrames missed = collector->missed()[0];
    EXPECT_LE(missed.first - newest, CMTimeMake(2, 30));
    EXPECT_EQ(missed.end, collector->samples()[0].presentationTimeStamp());
    EXPECT_GT(missed.end - missed.first, CMTimeMake(1, 5));
}

TEST_F(X11ScreenStreamTest, framesThatAreLeftOutUpToTheStopAreTold) {
    configuration.queueDepth = 1;
    const auto stream = run();
    uint32_t colour = 0;
    while (stream->framesLeftOut() == 0 && colour < 5000) {
        painter.fill(0, 0, 640, 480, ++colour);
        clock.sleep(2000);
    }
    clock.sleep(300'000);
    stop(*stream);
    queue->sync([] {});
    ASSERT_EQ(collector->missed().size(), 1u);
    EXPECT_GT(collector->missed()[0].end - collector->missed()[0].first, CMTimeMake(1, 4));
}

TEST_F(X11ScreenStreamTest, aServerThatHangsHoldsUpNoStop) {
    const auto stream = run();
    server.suspend();
    const CMTime begin = clock.now();
    stop(*stream);
    EXPECT_LT(clock.now() - begin, CMTimeMake(8, 1));
    server.resume();
}

TEST_F(X11ScreenStreamTest, aServerThatHangsWhileItIsAskedIsToldAtTheEnd) {
    const auto stream = run();
    painter.fill(0, 0, 640, 480, 1);
    ASSERT_TRUE(waitForColour(0, 0, 1));
    // Somewhere in a stream of changes the capture waits for an answer.
    std::atomic<bool> isOver = false;
    std::thread drawing([this, &isOver] {
        for (uint32_t i = 2; !isOver && i < 2000; ++i)
            painter.fill(0, 0, 640, 480, i);
    });
    clock.sleep(300'000);
    server.suspend();
    clock.sleep(200'000);
    const CMTime begin = clock.now();
    stop(*stream);
    EXPECT_LT(clock.now() - begin, CMTimeMake(8, 1));
    if (const auto note = stream->endNote()) {
        EXPECT_EQ(*note, "The X server no longer answered when the recording ended: the movie of the screen "
                         "holds the last picture that it gave.");
    }
    isOver = true;
    server.resume();
    drawing.join();
}

TEST_F(X11ScreenStreamTest, aServerThatHangsIsToldInASentence) {
    server.suspend();
    const auto result = content();
    server.resume();
    ASSERT_TRUE(result.error.has_value());
    EXPECT_EQ(result.error->localizedDescription(),
              "The X server doesn't answer: the desktop hangs. Try again once it reacts, or log in again.");
}

TEST_F(X11ScreenStreamTest, aStallOfTheRecorderIsToldByWhenTheScreenChanged) {
    const auto stream = run();
    clock.sleep(100'000);
    const CMTime before = clock.now();
    // This process stands still for a second, in the middle of which the screen changes.
    ChildProcess others({"sh", "-c", "sleep 0.3; xsetroot -solid '#804020'; sleep 0.7; kill -CONT $PPID"},
                        {"DISPLAY=" + server.displayName()});
    ::kill(::getpid(), SIGSTOP);
    ASSERT_TRUE(waitForColour(0, 0, 0x804020));
    stop(*stream);
    queue->sync([] {});
    ASSERT_EQ(collector->missed().size(), 1u);
    EXPECT_GT(collector->missed()[0].end - collector->missed()[0].first, CMTimeMake(1, 2));
    EXPECT_GT(collector->missed()[0].first, before + CMTimeMake(1, 4));
}

TEST_F(X11ScreenStreamTest, aConsumerThatIsStuckHoldsUpNeitherTheCaptureNorItsStop) {
    configuration.queueDepth = 2;
    auto held = std::make_shared<Mutex>();
    held->lock();
    queue->async([held] { MutexLock wait(*held); });
    const auto stream = makeStream(content().content.displays.at(0));
    EXPECT_EQ(start(*stream), std::nullopt);
    uint32_t colour = 0;
    while (stream->framesLeftOut() == 0 && colour < 5000) {
        painter.fill(0, 0, 640, 480, ++colour);
        clock.sleep(2000);
    }
    EXPECT_EQ(stream->framesSent(), 2 + kBeyondTheQueue);
    stop(*stream);
    held->unlock();
    queue->sync([] {});
    EXPECT_EQ(collector->samples().size(), 2 + kBeyondTheQueue);
}

TEST_F(X11ScreenStreamTest, aServerThatGoesWhileEveryPictureIsHeldIsTold) {
    configuration.queueDepth = 1;
    const auto stream = run();
    uint32_t colour = 0;
    while (stream->framesLeftOut() == 0 && colour < 5000) {
        painter.fill(0, 0, 640, 480, ++colour);
        clock.sleep(2000);
    }
    ASSERT_GT(stream->framesLeftOut(), 0u);
    server.kill();
    EXPECT_TRUE(waitUntil([&] { return listener->errors().size() == 1; }));
    const ScreenPicture kept(*collector->samples().front().imageBuffer());
    EXPECT_EQ(kept, ScreenPicture(640, 480));
}

TEST_F(X11ScreenStreamTest, picturesOutliveTheStreamAndTheServer) {
    auto stream = run();
    painter.fill(0, 0, 640, 480, 0xabcdef);
    ASSERT_TRUE(waitForColour(0, 0, 0xabcdef));
    stream.reset();
    server.kill();
    EXPECT_EQ(newestPicture()->at(639, 479), 0xabcdefu);
}

TEST_F(X11ScreenStreamTest, onlyThePartAskedForIsCaptured) {
    painter.fill(100, 50, 1, 1, 0xff0000);
    painter.fill(299, 149, 1, 1, 0x00ff00);
    configuration.sourceRect = CGRect{{100, 50}, {200, 100}};
    const auto stream = run();
    ScreenPicture expected(200, 100);
    expected.fill(0, 0, 1, 1, 0xff0000);
    expected.fill(199, 99, 1, 1, 0x00ff00);
    EXPECT_EQ(newestPicture(), expected);
    painter.fill(0, 0, 640, 50, 0xffffff);
    painter.fill(0, 150, 640, 50, 0xffffff);
    painter.fill(0, 50, 100, 100, 0xffffff);
    painter.fill(300, 50, 100, 100, 0xffffff);
    clock.sleep(200'000);
    EXPECT_EQ(collector->samples().size(), 1u);
    painter.fill(90, 40, 20, 20, 0x0000ff);
    expected.fill(0, 0, 10, 10, 0x0000ff);
    EXPECT_TRUE(waitForPicture(expected));
    stop(*stream);
}

TEST_F(X11ScreenStreamTest, anAreaOutsideOfTheDisplayIsRefused) {
    configuration.sourceRect = CGRect{{640, 0}, {100, 100}};
    const auto error = start(*makeStream(content().content.displays.at(0)));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->localizedDescription(), "The area to record lies outside of its display.");
}

TEST_F(X11ScreenStreamTest, aSecondStartIsRefusedAndTheFirstGoesOn) {
    const auto stream = run();
    EXPECT_TRUE(start(*stream).has_value());
    painter.fill(0, 0, 10, 10, 0x123456);
    EXPECT_TRUE(waitForColour(0, 0, 0x123456));
    stop(*stream);
    stop(*stream);
}

TEST_F(X11ScreenStreamTest, aStreamThatNeverStartedStopsAtOnce) {
    stop(*makeStream(content().content.displays.at(0)));
}

TEST_F(X11ScreenStreamTest, aStoppedStreamCanStartAgain) {
    const auto stream = run();
    stop(*stream);
    painter.fill(0, 0, 10, 10, 0x654321);
    EXPECT_EQ(start(*stream), std::nullopt);
    EXPECT_TRUE(waitForColour(0, 0, 0x654321));
    stop(*stream);
}

TEST_F(X11ScreenStreamTest, anotherPixelFormatIsRefused) {
    configuration.pixelFormat = kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange;
    EXPECT_THROW(makeStream(content().content.displays.at(0)), SystemError);
}

class X11ScreenWithAPaletteTest : public X11ScreenFixture {
protected:
    X11ScreenWithAPaletteTest()
        : X11ScreenFixture("640x480x8") {}
};

TEST_F(X11ScreenWithAPaletteTest, isRefusedInASentence) {
    const auto error = start(*makeStream(content().content.displays.at(0)));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->localizedDescription(),
              "This X display can't be recorded: its pixels have 8 bits, which aren't red, green and blue in "
              "this machine's order. Set the display to 24-bit colour.");
}

class X11ScreenWithoutSharedMemoryTest : public X11ScreenFixture {
protected:
    X11ScreenWithoutSharedMemoryTest()
        : X11ScreenFixture("640x480x24", {"-extension", "MIT-SHM"}) {}
};

TEST_F(X11ScreenWithoutSharedMemoryTest, arrivesWithItsExactPixels) {
    const auto stream = run();
    ScreenPicture expected(640, 480);
    EXPECT_EQ(newestPicture(), expected);
    painter.fill(11, 13, 17, 19, 0xfedcba);
    painter.fill(500, 400, 140, 80, 0x010203);
    expected.fill(11, 13, 17, 19, 0xfedcba);
    expected.fill(500, 400, 140, 80, 0x010203);
    EXPECT_TRUE(waitForPicture(expected));
    stop(*stream);
}

class X11ScreenWithoutDamageTest : public X11ScreenFixture {
protected:
    X11ScreenWithoutDamageTest()
        : X11ScreenFixture("640x480x24", {"-extension", "DAMAGE"}) {}
};

TEST_F(X11ScreenWithoutDamageTest, isRefusedInASentence) {
    const auto error = start(*makeStream(content().content.displays.at(0)));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->localizedDescription(), "This X server can't be recorded: it lacks the extensions "
                                             "DAMAGE and XFIXES, which tell when the screen changes.");
}

} // namespace vintra

// Takes on a machine whose encoder keeps up with half of the pictures, and on one whose disk hangs for a while.

#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/Nanoseconds.h"
#include "tests/support/TemporaryFolder.h"

#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/linux/movie/LinuxAssetWriters.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <utility>

namespace vintra {
namespace {

/// Resident memory of this process in megabytes, now.
double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * 4096 / 1e6;
}

class SlowEncoderTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv("DISPLAY")) GTEST_SKIP() << "there is no X server";
        if (VINTRA_FLASH_TAKES != 10) GTEST_SKIP() << "a sanitizer has a speed and a memory of its own";
    }
    void makeRecorder(int64_t framesASecond, LinuxAssetWritersOptions options) {
        machine.services.assetWriters = std::make_shared<LinuxAssetWriters>(std::move(options));
        machine.services.userDefaults->set("screenFrameRate", framesASecond);
        machine.services.userDefaults->set("timelineEditor", std::string("none"));
        recorder = ScreenRecorderManager::make(machine.services);
    }
    void start() {
        tasks.start(recorder->startRecording(folder.file("slow_video.mov")));
        ASSERT_TRUE(loop->runUntil([&] { return !*recorder->isBusy; }, 20 * kSecond));
        ASSERT_TRUE(*recorder->isRecording) << recorder->lastError->value_or("");
    }
    void runFor(int64_t nanoseconds) {
        loop->runUntil([] { return false; }, nanoseconds);
        EXPECT_TRUE(*recorder->isRecording) << "nothing stops a take";
    }
    void stop() {
        tasks.start(recorder->stopRecording());
        ASSERT_TRUE(loop->runUntil([&] { return !*recorder->isBusy; }, 30 * kSecond));
    }
    std::string told() const { return recorder->lastError->value_or(""); }
    /// The movie has a picture in every slot of the take, and what has none of its own is accounted for and
    /// told.
    FrameAccount expectWholeMovie(int32_t rate) const {
        const FrameAccount account = recorder->lastTakeScreenFrames().value_or(FrameAccount{});
        const MediaProbe movie(folder.file("slow_video.mov"));
        const auto& packets = movie.track(0).packets;
        EXPECT_EQ(static_cast<int64_t>(packets.size()), account.slots());
        for (size_t i = 1; i < packets.size(); ++i)
            EXPECT_EQ(packets[i].time - packets[i - 1].time, CMTimeMake(1, rate)) << i;
        const CMTime end = recorder->lastTakeStopTime() - *recorder->recordingCommonStartTime;
        EXPECT_GE(packets.back().time + CMTimeMake(1, rate), end) << "it reaches the stop";
        if (account.lost > 0) {
            const std::string sentence = std::to_string(account.lost) +
                                         (account.lost == 1 ? " screen frame was" : " screen frames were") +
                                         " dropped because the encoder couldn't keep up";
            EXPECT_NE(told().find(sentence), std::string::npos) << told() << "\n" << account.lost;
        }
        std::printf("%lld slots: %lld own, %lld copied, %lld unchanged, %lld lost\n",
                    static_cast<long long>(account.slots()), static_cast<long long>(account.own),
                    static_cast<long long>(account.copied), static_cast<long long>(account.unchanged),
                    static_cast<long long>(account.lost));
        return account;
    }

    const TemporaryFolder folder;
    const std::shared_ptr<LinuxEventLoop> loop = std::make_shared<LinuxEventLoop>();
    LinuxPlatform machine = LinuxPlatform::make(loop, {.keepsSettingsInMemory = true});
    std::shared_ptr<ScreenRecorderManager> recorder;
    TaskScope tasks;
};

TEST_F(SlowEncoderTest, theTakeGoesOnAndItsLossesAreCountedAndTold) {
    ChildProcess film({VINTRA_BIN_DIR "/moving-picture"});
    ASSERT_EQ(film.readLine(), "ready");
    makeRecorder(30, {.encoderDelayMicroseconds = 66'000}); // a picture, at 30 pictures a second
    const double before = residentMegabytes();
    start();
    runFor(6 * kSecond);
    const double during = residentMegabytes();
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    const FrameAccount account = expectWholeMovie(30);
    EXPECT_GT(account.lost, 60) << "of 180 pictures at most half can have been encoded, and what waited";
    EXPECT_GT(account.own, 45);
    // A picture is 8 MB: the queue holds a handful, and none piles up anywhere else.
    EXPECT_LT(during - before, 350);
}

TEST_F(SlowEncoderTest, atHalfTheSpeedOf60EveryPictureIsWrittenOrTold) {
    ChildProcess film({VINTRA_BIN_DIR "/moving-picture"});
    ASSERT_EQ(film.readLine(), "ready");
    makeRecorder(60, {.encoderDelayMicroseconds = 66'000}); // the film changes 30 times a second
    start();
    runFor(4 * kSecond);
    stop();
    const FrameAccount account = expectWholeMovie(60);
    EXPECT_GT(account.own, 30);
    EXPECT_GT(account.lost, 25);
}

TEST_F(SlowEncoderTest, aDiskThatHangsLosesWhatIsToldAndNothingElse) {
    ChildProcess film({VINTRA_BIN_DIR "/moving-picture"});
    ASSERT_EQ(film.readLine(), "ready");
    const auto isStuck = std::make_shared<std::atomic<bool>>(false);
    makeRecorder(30, {.isDiskStuck = [isStuck] { return isStuck->load(); }});
    start();
    runFor(kSecond);
    *isStuck = true;
    runFor(3 * kSecond);
    *isStuck = false;
    runFor(kSecond);
    stop();
    const FrameAccount account = expectWholeMovie(30);
    EXPECT_NEAR(static_cast<double>(account.lost), 3 * 30 - 8, 25) << "three seconds, less what could wait";
}

} // namespace
} // namespace vintra

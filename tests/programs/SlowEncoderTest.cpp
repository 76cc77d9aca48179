// A take on a machine whose encoder keeps up with half of the pictures.

#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/Nanoseconds.h"
#include "tests/support/TemporaryFolder.h"

#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/linux/movie/LinuxAssetWriters.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

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

TEST(SlowEncoderTest, theTakeGoesOnAndItsLossesAreCountedAndTold) {
    if (!std::getenv("DISPLAY")) GTEST_SKIP() << "there is no X server";
    if (VINTRA_FLASH_TAKES != 10) GTEST_SKIP() << "a sanitizer has a speed and a memory of its own";
    ChildProcess film({VINTRA_BIN_DIR "/moving-picture"});
    ASSERT_EQ(film.readLine(), "ready");
    const TemporaryFolder folder;
    const auto loop = std::make_shared<LinuxEventLoop>();
    LinuxPlatform machine = LinuxPlatform::make(loop, {.keepsSettingsInMemory = true});
    // 66 ms a picture at 30 pictures a second.
    machine.services.assetWriters =
        std::make_shared<LinuxAssetWriters>(LinuxAssetWritersOptions{.encoderDelayMicroseconds = 66'000});
    machine.services.userDefaults->set("screenFrameRate", int64_t{30});
    machine.services.userDefaults->set("timelineEditor", std::string("none"));
    const auto recorder = ScreenRecorderManager::make(machine.services);
    TaskScope tasks;
    const double before = residentMegabytes();

    tasks.start(recorder->startRecording(folder.file("slow_video.mov")));
    ASSERT_TRUE(loop->runUntil([&] { return !*recorder->isBusy; }, 20 * kSecond));
    ASSERT_TRUE(*recorder->isRecording) << recorder->lastError->value_or("");
    loop->runUntil([] { return false; }, 6 * kSecond);
    EXPECT_TRUE(*recorder->isRecording) << "nothing stops a take";
    const double during = residentMegabytes();
    tasks.start(recorder->stopRecording());
    ASSERT_TRUE(loop->runUntil([&] { return !*recorder->isBusy; }, 30 * kSecond));

    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    const std::string told = recorder->lastError->value_or("");
    EXPECT_NE(told.find("screen frames were dropped because the encoder couldn't keep up"), std::string::npos)
        << told;
    const MediaProbe movie(folder.file("slow_video.mov"));
    const size_t written = movie.track(0).packets.size();
    const int lost = std::atoi(told.c_str());
    EXPECT_GT(lost,
              10); // half a second of rest after each loss leaves slots empty that no frame was lost for
    EXPECT_GT(written, 45u);
    EXPECT_LT(written, 150u) << "of 180 pictures at most half can have been encoded, and what waited";
    // A picture is 8 MB: the queue holds a handful, and none piles up anywhere else.
    EXPECT_LT(during - before, 350);
}

} // namespace
} // namespace vintra

#include "Vintra/video/FrameRateCapWatcher.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

/// A camera of two formats that is held to the first of them at 30 frames a second.
class FrameRateCapWatcherTest : public testing::Test {
protected:
    FrameRateCapWatcherTest() {
        SimulatedCamera script;
        script.uid = "cam";
        script.name = "Desk";
        script.formats = {full, small};
        camera = machine.cameras->plug(std::move(script));
        device = machine.captureDevices->cameras().at(0);
        setRate(CMTimeMake(1000, 30'000));
    }
    void TearDown() override { EXPECT_EQ(machine.violations->list, std::vector<std::string>{}); }

    void setRate(CMTime duration) { camera->minFrameDuration = camera->maxFrameDuration = duration; }
    void watch(CameraHold hold) {
        watcher = std::make_unique<FrameRateCapWatcher>(device, std::move(hold), *queue, machine.log);
    }
    void watchBoth() { watch({.cap = 30, .format = full}); }
    int64_t reasserts() const { return watcher->reasserts->read(); }

    const AVCaptureDeviceFormat full = SimulatedCamera::format(1920, 1080, "420v", 1, 60);
    const AVCaptureDeviceFormat small = SimulatedCamera::format(640, 360, "420v", 1, 60);
    SimulatedMachine machine;
    std::shared_ptr<SimulatedCamera> camera;
    std::shared_ptr<AVCaptureVideoDevice> device;
    std::shared_ptr<DispatchQueue> queue = machine.dispatchQueues->makeSerialQueue("control");
    std::unique_ptr<FrameRateCapWatcher> watcher;
};

TEST_F(FrameRateCapWatcherTest, aCameraThatStaysIsLeftAlone) {
    watchBoth();
    machine.run(10);
    EXPECT_EQ(reasserts(), 0);
    EXPECT_TRUE(camera->calls.empty());
    EXPECT_TRUE(machine.log->texts("camera-rate").empty());
}

TEST_F(FrameRateCapWatcherTest, theFirstLookIsAfterAQuarterOfASecondThenOnceASecond) {
    watchBoth();
    camera->use(small);
    machine.run(0.249);
    EXPECT_EQ(reasserts(), 0);
    machine.run(0.002);
    EXPECT_EQ(reasserts(), 1);
    camera->use(small);
    machine.run(0.998); // 1.249 s
    EXPECT_EQ(reasserts(), 1);
    machine.run(0.002);
    EXPECT_EQ(reasserts(), 2);
}

TEST_F(FrameRateCapWatcherTest, aCameraThatLeftItsFormatIsPutBackWithItsRate) {
    watchBoth();
    camera->use(small);
    machine.run(0.3);
    EXPECT_EQ(camera->activeFormat, full);
    EXPECT_EQ(describe(camera->minFrameDuration), "1000/30000");
    EXPECT_EQ(describe(camera->maxFrameDuration), "1000/30000");
    EXPECT_EQ(camera->calls, (std::vector<std::string>{"lock", "format 1920×1080 420v", "min 1000/30000",
                                                       "max 1000/30000", "unlock"}));
    EXPECT_EQ(machine.log->texts("camera-rate"),
              std::vector<std::string>{"Desk had left its chosen format; put back"});
    EXPECT_EQ(machine.log->lines().back().level, LogLevel::standard);
}

TEST_F(FrameRateCapWatcherTest, aCameraThatLeftItsRateIsPutBack) {
    watchBoth();
    setRate(CMTimeMake(1, 60));
    machine.run(0.3);
    EXPECT_EQ(describe(camera->minFrameDuration), "1000/30000");
    EXPECT_EQ(describe(camera->maxFrameDuration), "1000/30000");
    EXPECT_EQ(camera->calls,
              (std::vector<std::string>{"lock", "min 1000/30000", "max 1000/30000", "unlock"}));
    EXPECT_EQ(machine.log->texts("camera-rate"),
              std::vector<std::string>{"Desk was at 60.000000 fps; put back to 30.000000 fps"});
    EXPECT_EQ(reasserts(), 1);
}

TEST_F(FrameRateCapWatcherTest, aHundredthOffIsLeftAlone) {
    watchBoth();
    setRate(CMTimeMake(1010, 30'000)); // 1% longer
    machine.run(0.3);
    EXPECT_EQ(reasserts(), 0);
    setRate(CMTimeMake(1011, 30'000));
    machine.run(1);
    EXPECT_EQ(reasserts(), 1);
}

TEST_F(FrameRateCapWatcherTest, aRateThatCannotBeReadIsLeftAlone) {
    watchBoth();
    for (const CMTime unknown : {kCMTimeInvalid, CMTimeMake(0, 30), CMTimeMake(-1, 30)}) {
        setRate(unknown);
        machine.run(1);
    }
    EXPECT_EQ(reasserts(), 0);
}

TEST_F(FrameRateCapWatcherTest, aRefusedLockIsTriedAgainAtTheNextLook) {
    watchBoth();
    camera->use(small);
    camera->refusesLock = true;
    machine.run(2.3);
    EXPECT_EQ(reasserts(), 0);
    EXPECT_EQ(camera->calls, (std::vector<std::string>(3, "refused lock")));
    camera->refusesLock = false;
    machine.run(1);
    EXPECT_EQ(reasserts(), 1);
    EXPECT_EQ(camera->activeFormat, full);
}

TEST_F(FrameRateCapWatcherTest, withoutAFormatOnlyTheRateIsHeld) {
    watch({.cap = 30, .format = std::nullopt});
    camera->use(small); // at up to 60
    machine.run(0.3);
    EXPECT_EQ(camera->activeFormat, small);
    EXPECT_EQ(describe(camera->minFrameDuration), "1000/30000");
    EXPECT_EQ(reasserts(), 1);
}

TEST_F(FrameRateCapWatcherTest, withoutACapOnlyTheFormatIsHeld) {
    watch({.cap = std::nullopt, .format = full});
    setRate(CMTimeMake(1, 60));
    machine.run(0.3);
    EXPECT_EQ(reasserts(), 0);
    camera->use(small);
    machine.run(1);
    EXPECT_EQ(camera->activeFormat, full);
    EXPECT_EQ(describe(camera->minFrameDuration), "1/60") << "it runs free";
    EXPECT_EQ(reasserts(), 1);
}

TEST_F(FrameRateCapWatcherTest, aFormatThatCannotBeReadIsPutBack) {
    watchBoth();
    camera->activeFormat = std::nullopt;
    machine.run(0.3);
    EXPECT_EQ(camera->activeFormat, full);
}

TEST_F(FrameRateCapWatcherTest, nobodyLooksOnceItHasGone) {
    watchBoth();
    camera->use(small);
    watcher = nullptr;
    machine.run(5);
    EXPECT_EQ(camera->activeFormat, small);
}

} // namespace
} // namespace vintra

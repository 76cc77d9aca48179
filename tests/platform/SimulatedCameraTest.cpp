#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/platform/CameraConformance.h"

#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

/// A camera of 25 tiny pictures a second, and what came of it.
class SimulatedCameraTest : public testing::Test {
protected:
    SimulatedCameraTest() {
        SimulatedCamera script;
        script.uid = "cam";
        script.name = "Desk";
        script.formats = {SimulatedCamera::format(32, 18, "420v", 5, 25)};
        camera = machine.cameras->plug(std::move(script));
    }
    void start() {
        CaptureDevices& devices = *machine.captureDevices;
        session = devices.makeSession();
        session->addInput(devices.makeDeviceInput(devices.cameras().at(0)));
        const auto output = devices.makeVideoDataOutput();
        output->setSampleBufferDelegate(collector, pictures);
        session->addOutput(output);
        control->sync([this] { session->startRunning(); });
        begun = machine.now();
    }
    std::vector<int64_t> numbers() const {
        std::vector<int64_t> result;
        for (const auto& arrival : collector->arrivals())
            result.push_back(SimulatedCameraPictures::numberOf(*arrival.sample.imageBuffer()));
        return result;
    }
    /// Seconds from the start of the session to the picture's stamp.
    double stamp(size_t picture) const {
        return CMTimeGetSeconds(collector->arrivals().at(picture).sample.presentationTimeStamp() - begun);
    }
    double arrival(size_t picture) const {
        return CMTimeGetSeconds(collector->arrivals().at(picture).time - begun);
    }

    SimulatedMachine machine;
    std::shared_ptr<SimulatedCamera> camera;
    std::shared_ptr<DispatchQueue> control = machine.dispatchQueues->makeSerialQueue("control");
    std::shared_ptr<DispatchQueue> pictures = machine.dispatchQueues->makeSerialQueue("pictures");
    std::shared_ptr<PictureCollector> collector =
        std::make_shared<PictureCollector>([this] { return machine.now(); });
    std::shared_ptr<AVCaptureSession> session;
    CMTime begun;
};

TEST_F(SimulatedCameraTest, picturesAreNumberedAndTakenAtItsRate) {
    start();
    machine.run(1);
    EXPECT_EQ(numbers().size(), 24u); // the last at 0.03 + 23/25 s, handed over 15 ms later
    for (size_t i = 0; i < numbers().size(); ++i) {
        EXPECT_EQ(numbers()[i], static_cast<int64_t>(i));
        EXPECT_NEAR(stamp(i), 0.03 + static_cast<double>(i) / 25, 1e-6);
        EXPECT_NEAR(arrival(i), stamp(i) + 0.015, 1e-6);
    }
}

TEST_F(SimulatedCameraTest, aClockOfItsOwnDrifts) {
    camera->clockRatio = 1 + 200e-6;
    start();
    machine.run(1000.1);
    EXPECT_NEAR(static_cast<double>(numbers().size()), 25'005 + 2, 1) << "5 pictures more, and the 0.1 s";
}

TEST_F(SimulatedCameraTest, stampsMayBeOffAndArrivalsLateWithoutOvertaking) {
    camera->stampError = [](int64_t picture) { return picture == 3 ? -0.5 : 0; };
    camera->lateness = [](int64_t picture) { return picture == 5 ? 0.1 : 0; };
    start();
    machine.run(1);
    EXPECT_NEAR(stamp(3), 0.03 + 3.0 / 25 - 0.5, 1e-6);
    EXPECT_NEAR(arrival(5), 0.03 + 5.0 / 25 + 0.115, 1e-6);
    EXPECT_NEAR(arrival(6), arrival(5), 1e-6) << "it waits behind";
    EXPECT_NEAR(arrival(7), arrival(5), 1e-6);
    EXPECT_NEAR(arrival(8), stamp(8) + 0.015, 1e-6);
}

TEST_F(SimulatedCameraTest, stampsMayBeMissing) {
    camera->hasStamps = false;
    start();
    machine.run(0.1);
    EXPECT_FALSE(collector->arrivals().at(0).sample.presentationTimeStamp().isValid());
}

TEST_F(SimulatedCameraTest, aFrozenPictureStaysToTheByteAndABlackOneIsBlack) {
    start();
    machine.run(0.4);
    camera->isFrozen = true;
    const int64_t last = numbers().back();
    machine.run(0.4);
    EXPECT_EQ(numbers().back(), last);
    camera->isFrozen = false;
    machine.run(0.1);
    EXPECT_GT(numbers().back(), last + 8) << "it has counted on";
    camera->isBlack = true;
    machine.run(0.1);
    const auto image = collector->arrivals().back().sample.imageBuffer();
    EXPECT_EQ(image->plane(0).baseAddress[100], 16);
    EXPECT_EQ(image->plane(1).baseAddress[10], 128);
}

TEST_F(SimulatedCameraTest, aCameraThatStopsGoesOnWhereItsClockIs) {
    start();
    machine.run(0.4);
    camera->isStopped = true;
    const size_t count = numbers().size();
    machine.run(1);
    EXPECT_EQ(numbers().size(), count);
    EXPECT_TRUE(session->isRunning());
    camera->isStopped = false;
    machine.run(0.1);
    EXPECT_GE(numbers()[count], static_cast<int64_t>(count) + 24);
}

TEST_F(SimulatedCameraTest, anotherRateOrSizeIsSentAtOnce) {
    start();
    machine.run(1);
    camera->minFrameDuration = CMTimeMake(1, 5);
    camera->sends = CMVideoDimensions{64, 36};
    const size_t count = numbers().size();
    machine.run(1);
    EXPECT_NEAR(static_cast<double>(numbers().size() - count), 5, 1);
    EXPECT_EQ(collector->arrivals().back().sample.imageBuffer()->width(), 64u);
}

TEST_F(SimulatedCameraTest, largePicturesDifferAndShareTheirMemory) {
    SimulatedCameraPictures source;
    const auto first = source.make({1920, 1080}, 7);
    const auto again = source.make({1920, 1080}, 7);
    const auto other = source.make({1920, 1080}, 8);
    EXPECT_EQ(first->plane(0).baseAddress, again->plane(0).baseAddress);
    EXPECT_NE(first, again) << "each has an identity of its own";
    EXPECT_EQ(SimulatedCameraPictures::numberOf(*first), 7);
    EXPECT_EQ(SimulatedCameraPictures::numberOf(*other), 8);
    int different = 0;
    for (size_t at = 0; at < 1920; ++at)
        different += first->plane(0).baseAddress[at] != other->plane(0).baseAddress[at];
    EXPECT_GT(different, 1600) << "all but the marks of the places, 8 bytes in 64";
}

TEST_F(SimulatedCameraTest, whatIsDoneWithoutTheLockIsAViolation) {
    const auto device = machine.captureDevices->cameras().at(0);
    device->setActiveFormat(camera->formats[0]);
    device->unlockForConfiguration();
    EXPECT_EQ(machine.violations->list.size(), 2u);
    camera->refusesLock = true;
    EXPECT_FALSE(device->lockForConfiguration());
    camera->refusesLock = false;
    ASSERT_TRUE(device->lockForConfiguration());
    device->setActiveVideoMinFrameDuration(CMTimeMake(1, 60));
    EXPECT_EQ(describe(camera->minFrameDuration), "1/25") << "what it can't do is ignored";
    device->setActiveFormat(SimulatedCamera::format(640, 480, "420v", 1, 30));
    EXPECT_EQ(camera->activeFormat, camera->formats[0]);
    device->unlockForConfiguration();
    EXPECT_EQ(machine.violations->list.size(), 4u);
}

} // namespace
} // namespace vintra

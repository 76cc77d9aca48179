#include "Vintra/audio/SystemAudioRelay.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

/// Counts the readings of the rate.
class CountingHardware : public SimulatedAudioHardware {
public:
    using SimulatedAudioHardware::SimulatedAudioHardware;
    std::optional<double> nominalSampleRate(AudioObjectID device) const override {
        ++readings;
        return SimulatedAudioHardware::nominalSampleRate(device);
    }
    mutable int readings = 0;
};

class RelaySampleRateTest : public testing::Test {
protected:
    RelaySampleRateTest() {
        device = hardware->plug("VintraAudioDevice", "Vintra Audio", 2);
        device->sampleRates = {44'100, 48'000};
    }
    double set(double rate, double timeout = 2.0) {
        Platform platform = machine.platform();
        platform.audioHardware = hardware;
        platform.audioDeviceIO = io;
        const double begin = machine.time->nowSeconds();
        const double result =
            machine.complete(SystemAudioRelay::setSampleRate(platform, queue, rate, device->id, timeout));
        took = machine.time->nowSeconds() - begin;
        return result;
    }

    SimulatedMachine machine;
    std::shared_ptr<CountingHardware> hardware = std::make_shared<CountingHardware>(machine.mainThread);
    std::shared_ptr<SimulatedAudioDeviceIO> io =
        std::make_shared<SimulatedAudioDeviceIO>(machine.time, hardware);
    std::shared_ptr<DispatchQueue> queue = machine.dispatchQueues->makeSerialQueue("devices");
    std::shared_ptr<SimulatedAudioDevice> device;
    double took = 0; ///< seconds
};

TEST_F(RelaySampleRateTest, noRateAsksForNothing) {
    EXPECT_EQ(set(0), 48'000);
    EXPECT_EQ(set(-1), 48'000);
    EXPECT_EQ(took, 0);
}

TEST_F(RelaySampleRateTest, theRateItHasIsNotSetAgain) {
    device->sampleRates = {44'100}; // 48,000 would be refused
    EXPECT_EQ(set(48'000), 48'000);
    EXPECT_EQ(hardware->readings, 1);
}

TEST_F(RelaySampleRateTest, aRefusalGivesTheRateThatStays) {
    EXPECT_EQ(set(96'000), 48'000);
    EXPECT_EQ(took, 0);
}

TEST_F(RelaySampleRateTest, aChangeThatTakesItsTimeIsSeenAtTheNextLook) {
    device->rateChangeSeconds = 0.213;
    EXPECT_EQ(set(44'100), 44'100);
    EXPECT_NEAR(took, 0.22, 1e-9);
    EXPECT_EQ(hardware->readings, 1 + 12) << "one before, then one every 20 ms from 0 to 220";
}

TEST_F(RelaySampleRateTest, theMainThreadIsFreeMeanwhile) {
    device->rateChangeSeconds = 0.5;
    bool ran = false;
    machine.time->afterSeconds(0.1, [&] { machine.mainThread->post([&] { ran = true; }); });
    set(44'100);
    EXPECT_TRUE(ran);
}

TEST_F(RelaySampleRateTest, atTheTimeoutTheRateReadThenCounts) {
    device->rateChangeSeconds = 10;
    EXPECT_EQ(set(44'100), 48'000);
    EXPECT_NEAR(took, 2.0, 1e-9);
    machine.run(10);
    EXPECT_EQ(set(48'000, 0), 44'100) << "no patience: the change is to come";
}

TEST_F(RelaySampleRateTest, aDeviceThatCannotBeReadEndsAtZero) {
    device->hasUnreadableRate = true;
    EXPECT_EQ(set(0), 0);
    EXPECT_EQ(set(44'100, 0.1), 0);
    EXPECT_NEAR(took, 0.1, 1e-9);
}

TEST_F(RelaySampleRateTest, aDeviceThatVanishesMeanwhileEndsAtZero) {
    device->rateChangeSeconds = 1;
    machine.time->afterSeconds(0.5, [&] { hardware->unplug("VintraAudioDevice"); });
    EXPECT_EQ(set(44'100), 0);
}

} // namespace
} // namespace vintra

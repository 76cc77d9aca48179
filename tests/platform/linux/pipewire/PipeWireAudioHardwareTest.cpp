#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/support/Nanoseconds.h"
#include "tests/support/PublishedMicrophone.h"

#include <algorithm>

namespace vintra {
namespace {

class PipeWireAudioHardwareTest : public ::testing::Test {
protected:
    std::optional<AudioObjectID> deviceWithUID(const std::string& uid) const {
        for (const AudioObjectID device : hardware.devices()) {
            if (hardware.deviceUID(device) == uid) return device;
        }
        return std::nullopt;
    }

    bool awaitDevice(const std::string& uid) {
        const auto listener =
            hardware.addPropertyListener(kAudioObjectSystemObject, AudioProperty::devices, [] {});
        return mainThread->runUntil([&] { return deviceWithUID(uid).has_value(); }, kTenSeconds);
    }

    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    std::shared_ptr<PipeWireConnection> connection = std::make_shared<PipeWireConnection>();
    PipeWireAudioHardware hardware{connection, mainThread};
};

TEST_F(PipeWireAudioHardwareTest, theVirtualDeviceIsAnInputOfTwoChannels) {
    const auto device = deviceWithUID("VintraAudioDevice");
    ASSERT_TRUE(device.has_value());
    EXPECT_EQ(hardware.deviceName(*device), "Vintra Audio");
    EXPECT_EQ(hardware.nominalSampleRate(*device), 48'000);
    EXPECT_EQ(hardware.inputStreamChannels(*device), std::vector<uint32_t>{2});
}

TEST_F(PipeWireAudioHardwareTest, anOrdinaryOutputHasNoInputStreams) {
    const auto device = deviceWithUID("headless.output");
    ASSERT_TRUE(device.has_value());
    EXPECT_EQ(hardware.deviceName(*device), "Headless Output");
    EXPECT_EQ(hardware.inputStreamChannels(*device), std::vector<uint32_t>{});
}

TEST_F(PipeWireAudioHardwareTest, listingRightAfterConnectingIsComplete) {
    const PublishedMicrophone microphone("hardware-test-complete", {"--channels", "8", "--rate", "44100"});
    ASSERT_TRUE(microphone.isPublished());
    const PipeWireAudioHardware fresh(std::make_shared<PipeWireConnection>(), mainThread);
    bool isFound = false;
    for (const AudioObjectID device : fresh.devices()) {
        if (fresh.deviceUID(device) != "hardware-test-complete") continue;
        isFound = true;
        EXPECT_EQ(fresh.inputStreamChannels(device), std::vector<uint32_t>{8});
        EXPECT_EQ(fresh.nominalSampleRate(device), 44'100);
    }
    EXPECT_TRUE(isFound);
}

TEST_F(PipeWireAudioHardwareTest, aDeviceThatIsNotThereGivesNothing) {
    const AudioObjectID unknown = 123'456;
    EXPECT_EQ(hardware.deviceUID(unknown), std::nullopt);
    EXPECT_EQ(hardware.deviceName(unknown), std::nullopt);
    EXPECT_EQ(hardware.nominalSampleRate(unknown), std::nullopt);
    EXPECT_EQ(hardware.inputStreamChannels(unknown), std::nullopt);
    EXPECT_EQ(hardware.addPropertyListener(unknown, AudioProperty::nominalSampleRate, [] {}), nullptr);
    EXPECT_EQ(hardware.addPropertyListener(unknown, AudioProperty::devices, [] {}), nullptr);
    EXPECT_FALSE(connection->problem().has_value());
}

TEST_F(PipeWireAudioHardwareTest, comingAndGoingIsToldOnTheMainThread) {
    int calls = 0;
    bool wasOnMainThread = true;
    const auto listener = hardware.addPropertyListener(kAudioObjectSystemObject, AudioProperty::devices, [&] {
        ++calls;
        wasOnMainThread &= mainThread->isCurrent();
    });
    ASSERT_NE(listener, nullptr);
    PublishedMicrophone microphone("hardware-test-coming");
    ASSERT_TRUE(microphone.isPublished());
    ASSERT_TRUE(mainThread->runUntil(
        [&] { return calls > 0 && deviceWithUID("hardware-test-coming").has_value(); }, kTenSeconds));
    const int callsBefore = calls;
    microphone.unplug();
    ASSERT_TRUE(mainThread->runUntil([&] { return calls > callsBefore; }, kTenSeconds));
    EXPECT_FALSE(deviceWithUID("hardware-test-coming").has_value());
    EXPECT_TRUE(wasOnMainThread);
}

TEST_F(PipeWireAudioHardwareTest, aDeviceThatComesBackAtAnotherRateKeepsItsNumberAndTellsTheRate) {
    auto microphone = std::make_unique<PublishedMicrophone>("hardware-test-rate");
    ASSERT_TRUE(microphone->isPublished());
    ASSERT_TRUE(awaitDevice("hardware-test-rate"));
    const AudioObjectID device = *deviceWithUID("hardware-test-rate");
    int calls = 0;
    const auto listener =
        hardware.addPropertyListener(device, AudioProperty::nominalSampleRate, [&] { ++calls; });
    ASSERT_NE(listener, nullptr);
    microphone.reset();
    microphone = std::make_unique<PublishedMicrophone>("hardware-test-rate",
                                                       std::vector<std::string>{"--rate", "44100"});
    ASSERT_TRUE(mainThread->runUntil([&] { return calls > 0; }, kTenSeconds));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(deviceWithUID("hardware-test-rate"), device);
    EXPECT_EQ(hardware.nominalSampleRate(device), 44'100);
}

TEST_F(PipeWireAudioHardwareTest, aListenerThatHasGoneIsNotCalledAnyMore) {
    int gone = 0;
    int kept = 0;
    auto listener =
        hardware.addPropertyListener(kAudioObjectSystemObject, AudioProperty::devices, [&] { ++gone; });
    const auto other =
        hardware.addPropertyListener(kAudioObjectSystemObject, AudioProperty::devices, [&] { ++kept; });
    listener.reset();
    const PublishedMicrophone microphone("hardware-test-listener");
    ASSERT_TRUE(mainThread->runUntil([&] { return kept > 0; }, kTenSeconds));
    EXPECT_EQ(gone, 0);
}

} // namespace
} // namespace vintra

#include "Vintra/audio/AudioDeviceListWatcher.h"
#include "Vintra/audio/CoreAudioInputDevice.h"
#include "Vintra/audio/DeviceSampleRateWatcher.h"
#include "Vintra/platform/simulated/SimulatedAudioHardware.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

class AudioDevicesTest : public testing::Test {
protected:
    SimulatedMachine machine;
    SimulatedAudioHardware hardware{machine.mainThread};
    int told = 0;

    std::function<void()> count() {
        return [this] { ++told; };
    }
    std::vector<std::string> listedNames() const {
        std::vector<std::string> names;
        for (const auto& device : CoreAudioInputDevice::listAll(hardware))
            names.push_back(device.name);
        return names;
    }
};

TEST_F(AudioDevicesTest, theListHoldsEveryInputInTheSystemsOrder) {
    hardware.plug("b", "Interface", 32);
    hardware.plug("a", "Built-in", 1);
    const auto list = CoreAudioInputDevice::listAll(hardware);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].uid, "b");
    EXPECT_EQ(list[0].name, "Interface");
    EXPECT_EQ(list[0].channelCount, 32);
    EXPECT_EQ(list[1].uid, "a");
    EXPECT_NE(list[0].id, list[1].id);
}

TEST_F(AudioDevicesTest, channelsOfAllStreamsAreAddedUp) {
    hardware.plug("a", "Interface")->inputStreamChannels = {2, 8, 8};
    ASSERT_EQ(CoreAudioInputDevice::listAll(hardware).size(), 1u);
    EXPECT_EQ(CoreAudioInputDevice::listAll(hardware)[0].channelCount, 18);
}

TEST_F(AudioDevicesTest, aDeviceWithoutInputsIsNotListed) {
    hardware.plug("a", "Speakers")->inputStreamChannels = {};
    hardware.plug("b", "Switched off")->inputStreamChannels = {0, 0};
    hardware.plug("c", "Microphone");
    EXPECT_EQ(listedNames(), std::vector<std::string>{"Microphone"});
}

TEST_F(AudioDevicesTest, aDeviceWithoutReadableNameUIDOrStreamsIsNotListed) {
    hardware.plug("a", "One")->hasUnreadableStreams = true;
    hardware.plug("b", "Two")->hasUnreadableUID = true;
    hardware.plug("c", "Three")->hasUnreadableName = true;
    hardware.plug("d", "Four");
    EXPECT_EQ(listedNames(), std::vector<std::string>{"Four"});
}

TEST_F(AudioDevicesTest, anUnreadableListIsEmpty) {
    hardware.plug("a", "Microphone");
    hardware.hasUnreadableDevices = true;
    EXPECT_TRUE(CoreAudioInputDevice::listAll(hardware).empty());
}

TEST_F(AudioDevicesTest, theListWatcherTellsOfDevicesThatComeAndGo) {
    AudioDeviceListWatcher watcher(hardware);
    watcher.start(count());
    hardware.plug("a", "Microphone");
    machine.settle();
    EXPECT_EQ(told, 1);
    hardware.unplug("a");
    machine.settle();
    EXPECT_EQ(told, 2);
}

TEST_F(AudioDevicesTest, aSecondStartOfTheListWatcherDoesNothing) {
    AudioDeviceListWatcher watcher(hardware);
    watcher.start(count());
    watcher.start([] { FAIL(); });
    EXPECT_EQ(hardware.listenerCount(), 1u);
    hardware.plug("a", "Microphone");
    machine.settle();
    EXPECT_EQ(told, 1);
}

TEST_F(AudioDevicesTest, aWatcherThatGoesTakesItsListenerAlong) {
    {
        AudioDeviceListWatcher watcher(hardware);
        watcher.start(count());
    }
    EXPECT_EQ(hardware.listenerCount(), 0u);
    hardware.plug("a", "Microphone");
    machine.settle();
    EXPECT_EQ(told, 0);
}

TEST_F(AudioDevicesTest, theRateWatcherTellsOfItsOwnDeviceAlone) {
    hardware.plug("a", "Microphone");
    hardware.plug("b", "Interface");
    const auto watcher = DeviceSampleRateWatcher::make(hardware, "a");
    ASSERT_TRUE(watcher);
    watcher->start(count());
    hardware.setNominalSampleRate("b", 44'100);
    machine.settle();
    EXPECT_EQ(told, 0);
    hardware.setNominalSampleRate("a", 44'100);
    machine.settle();
    EXPECT_EQ(told, 1);
}

TEST_F(AudioDevicesTest, thereIsNoRateWatcherOfADeviceThatIsNotListed) {
    hardware.plug("a", "Speakers")->inputStreamChannels = {};
    EXPECT_FALSE(DeviceSampleRateWatcher::make(hardware, "a"));
    EXPECT_FALSE(DeviceSampleRateWatcher::make(hardware, "gone"));
}

TEST_F(AudioDevicesTest, theRateWatcherEndsWithItsListener) {
    hardware.plug("a", "Microphone");
    auto watcher = DeviceSampleRateWatcher::make(hardware, "a");
    watcher->start(count());
    watcher.reset();
    EXPECT_EQ(hardware.listenerCount(), 0u);
}

} // namespace
} // namespace vintra

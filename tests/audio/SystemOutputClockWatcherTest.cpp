#include "Vintra/audio/SystemOutputClockWatcher.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

class SystemOutputClockWatcherTest : public testing::Test {
protected:
    SystemOutputClockWatcherTest() {
        speakers = hardware.plug("speakers", "Speakers", 0);
        headphones = hardware.plug("headphones", "Headphones", 0);
        hardware.defaultSystemOutput = speakers->id;
        hardware.defaultOutput = headphones->id;
    }
    void start() {
        watcher.start([this] { ++changes; });
    }
    int changesAfter(const std::function<void()>& event) {
        const int before = changes;
        event();
        machine.run(0.1);
        return changes - before;
    }

    SimulatedMachine machine;
    SimulatedAudioHardware& hardware = *machine.audioHardware;
    std::shared_ptr<SimulatedAudioDevice> speakers;
    std::shared_ptr<SimulatedAudioDevice> headphones;
    SystemOutputClockWatcher watcher{hardware};
    int changes = 0;
};

TEST_F(SystemOutputClockWatcherTest, itReadsWhereAlertsGo) {
    EXPECT_EQ(SystemOutputClockWatcher::current(hardware), (SystemOutputClock{"speakers", 48'000}));
    EXPECT_EQ(SystemOutputClockWatcher::currentOutputDeviceName(hardware), "Speakers");
}

TEST_F(SystemOutputClockWatcherTest, anythingUnreadableIsNoClock) {
    speakers->hasUnreadableUID = true;
    EXPECT_EQ(SystemOutputClockWatcher::current(hardware), std::nullopt);
    speakers->hasUnreadableUID = false;
    speakers->hasUnreadableRate = true;
    EXPECT_EQ(SystemOutputClockWatcher::current(hardware), std::nullopt);
    speakers->hasUnreadableRate = false;
    speakers->nominalSampleRate = 0;
    EXPECT_EQ(SystemOutputClockWatcher::current(hardware), std::nullopt);
    hardware.defaultSystemOutput = 0;
    EXPECT_EQ(SystemOutputClockWatcher::currentOutputDeviceName(hardware), std::nullopt);
    hardware.defaultSystemOutput = std::nullopt;
    EXPECT_EQ(SystemOutputClockWatcher::current(hardware), std::nullopt);
}

TEST_F(SystemOutputClockWatcherTest, itTellsOfAnotherDeviceAndOfTheNewOnesRates) {
    start();
    EXPECT_EQ(changesAfter([&] { hardware.setNominalSampleRate("speakers", 44'100); }), 1);
    EXPECT_EQ(changesAfter([&] { hardware.setNominalSampleRate("headphones", 44'100); }), 0);
    EXPECT_EQ(changesAfter([&] { hardware.setDefaultSystemOutputDevice(headphones->id); }), 1);
    EXPECT_EQ(changesAfter([&] { hardware.setNominalSampleRate("headphones", 48'000); }), 1);
    EXPECT_EQ(changesAfter([&] { hardware.setNominalSampleRate("speakers", 48'000); }), 0);
}

TEST_F(SystemOutputClockWatcherTest, theDefaultOutputIsNotWatched) {
    start();
    EXPECT_EQ(changesAfter([&] { hardware.setDefaultOutputDevice(speakers->id); }), 0);
}

TEST_F(SystemOutputClockWatcherTest, withoutADeviceItWaitsForOne) {
    hardware.defaultSystemOutput = 0;
    start();
    EXPECT_EQ(hardware.listenerCount(), 1u);
    EXPECT_EQ(changesAfter([&] { hardware.setDefaultSystemOutputDevice(headphones->id); }), 1);
    EXPECT_EQ(changesAfter([&] { hardware.setNominalSampleRate("headphones", 44'100); }), 1);
    EXPECT_EQ(changesAfter([&] {
                  hardware.defaultSystemOutput = 0;
                  hardware.notify(kAudioObjectSystemObject, AudioProperty::defaultSystemOutputDevice);
              }),
              1);
    EXPECT_EQ(hardware.listenerCount(), 1u);
}

TEST_F(SystemOutputClockWatcherTest, aNoticeOfTheSameDeviceKeepsItsListener) {
    start();
    EXPECT_EQ(changesAfter([&] {
                  hardware.notify(kAudioObjectSystemObject, AudioProperty::defaultSystemOutputDevice);
              }),
              1);
    EXPECT_EQ(hardware.listenerCount(), 2u);
    EXPECT_EQ(changesAfter([&] { hardware.setNominalSampleRate("speakers", 44'100); }), 1);
}

TEST_F(SystemOutputClockWatcherTest, aSecondStartDoesNothingAndAfterAStopItIsSilent) {
    start();
    bool second = false;
    watcher.start([&] { second = true; });
    EXPECT_EQ(changesAfter([&] { hardware.setNominalSampleRate("speakers", 44'100); }), 1);
    EXPECT_FALSE(second);
    watcher.stop();
    EXPECT_EQ(hardware.listenerCount(), 0u);
    EXPECT_EQ(changesAfter([&] { hardware.setDefaultSystemOutputDevice(headphones->id); }), 0);
    start();
    EXPECT_EQ(changesAfter([&] { hardware.setNominalSampleRate("headphones", 44'100); }), 1);
}

TEST_F(SystemOutputClockWatcherTest, itMayBeStoppedByWhatItTells) {
    watcher.start([this] {
        ++changes;
        watcher.stop();
    });
    hardware.setNominalSampleRate("speakers", 44'100);
    hardware.setDefaultSystemOutputDevice(headphones->id);
    machine.run(0.1);
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace vintra

#include "Vintra/platform/linux/pipewire/PipeWireDeviceIO.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/pipewire/CountedSound.h"
#include "tests/platform/linux/pipewire/DeviceStream.h"
#include "tests/platform/linux/pipewire/PublishedSink.h"
#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace vintra {
namespace {

class RecordedLog : public Log {
public:
    bool isEnabled(LogLevel) const override { return true; }
    void write(const std::string& category, LogLevel, const std::string& text) override {
        MutexLock lock(mutex);
        lines_.push_back(category + ": " + text);
    }
    std::vector<std::string> lines() const {
        MutexLock lock(mutex);
        return lines_;
    }

private:
    mutable Mutex mutex;
    std::vector<std::string> lines_ GUARDED_BY(mutex);
};

std::string contents(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class PipeWireDeviceIOTest : public ::testing::Test {
protected:
    AudioObjectID number(const std::string& name) const {
        return connection->devices().numberNamed(name).value_or(0);
    }
    bool awaitDevice(const std::string& name) {
        return awaitCondition([&] { return number(name) != 0; });
    }

    std::shared_ptr<PipeWireConnection> connection = std::make_shared<PipeWireConnection>();
    std::shared_ptr<RecordedLog> log = std::make_shared<RecordedLog>();
    PipeWireAudioHardware hardware{connection, std::make_shared<LinuxEventLoop>()};
    PipeWireDeviceIO io{connection, log};
    const AudioObjectID virtualDevice = number("VintraAudioDevice");
    const AudioObjectID output = number("headless.output");
};

TEST_F(PipeWireDeviceIOTest, whatIsPlayedToTheVirtualDeviceIsHeardFromItBitForBit) {
    CountedSoundListener heard;
    const auto proc = io.createIOProc(virtualDevice, heard.block());
    ASSERT_TRUE(proc && proc->start());
    CountedSoundPlayer player;
    DeviceStream played(connection, "VintraAudioDevice", DeviceStream::Direction::output, player.block());
    ASSERT_TRUE(awaitCondition([&] { return heard.next >= 48'000; }));
    proc->stop();
    // On a machine too busy a whole cycle may be missing. A sample is never another one.
    EXPECT_EQ(heard.repeats, 0);
    EXPECT_EQ(heard.skips, 0);
    EXPECT_LE(heard.faults * 1000, heard.next);
}

TEST_F(PipeWireDeviceIOTest, whatABlockFillsIsPlayedBitForBit) {
    CountedSoundPlayer player;
    CountedSoundListener heard;
    const auto proc = io.createIOProc(output, player.block());
    DeviceStream listening(connection, "headless.output", DeviceStream::Direction::input, heard.block());
    ASSERT_TRUE(listening.awaitStreaming());
    ASSERT_TRUE(proc && proc->start());
    ASSERT_TRUE(awaitCondition([&] { return heard.next >= 48'000; }));
    proc->stop();
    EXPECT_EQ(heard.repeats, 0);
    EXPECT_EQ(heard.skips, 0);
    EXPECT_LE(heard.faults * 1000, heard.next);
}

TEST_F(PipeWireDeviceIOTest, whatABlockLeavesUntouchedIsSilence) {
    std::atomic<int> calls{0};
    const auto proc = io.createIOProc(output, [&](AudioBufferList, AudioBufferList buffers) {
        // The same few pieces of memory come again and again: they have all been loud.
        if (++calls > 40) return;
        std::fill_n(buffers[0].mData, buffers[0].mDataByteSize / sizeof(float), 0.75f);
    });
    std::atomic<int> loud{0};
    std::atomic<int> silentInARow{0};
    const auto listen = [&](AudioBufferList buffers, AudioBufferList) {
        const float* const samples = buffers[0].mData;
        const size_t count = buffers[0].mDataByteSize / sizeof(float);
        const bool isLoud = std::any_of(samples, samples + count, [](float sample) { return sample != 0; });
        loud += isLoud ? 1 : 0;
        silentInARow = isLoud ? 0 : silentInARow + 1;
    };
    DeviceStream listening(connection, "headless.output", DeviceStream::Direction::input, listen);
    ASSERT_TRUE(listening.awaitStreaming());
    ASSERT_TRUE(proc && proc->start());
    EXPECT_TRUE(awaitCondition([&] { return calls > 80 && silentInARow > 20; }));
    EXPECT_GT(loud, 0);
}

TEST_F(PipeWireDeviceIOTest, theTwoDevicesHaveAClockEach) {
    DeviceStream source(connection, "VintraAudioDevice", DeviceStream::Direction::input, [](auto, auto) {});
    DeviceStream played(connection, "headless.output", DeviceStream::Direction::output, [](auto, auto) {});
    ASSERT_TRUE(source.awaitStreaming());
    ASSERT_TRUE(played.awaitStreaming());
    EXPECT_EQ(source.driver(), connection->devices().deviceNamed("VintraAudioDevice")->globalID);
    EXPECT_EQ(played.driver(), connection->devices().deviceNamed("headless.output")->globalID);
    const auto first = io.createIOProc(output, [](auto, auto) {});
    const auto second = io.createIOProc(virtualDevice, [](auto, auto) {});
    ASSERT_TRUE(first->start() && second->start());
    EXPECT_EQ(log->lines(), std::vector<std::string>{});
}

TEST_F(PipeWireDeviceIOTest, twoDevicesThatSomebodyHasLinkedAreToldInTheLog) {
    // Ports are there once a device runs.
    DeviceStream source(connection, "VintraAudioDevice", DeviceStream::Direction::input, [](auto, auto) {});
    DeviceStream played(connection, "headless.output", DeviceStream::Direction::output, [](auto, auto) {});
    ASSERT_TRUE(source.awaitStreaming() && played.awaitStreaming());
    ChildProcess linked({"pw-link", "VintraAudioDevice:monitor_FL", "headless.output:playback_FL"});
    ASSERT_EQ(linked.wait(), 0);
    const auto first = io.createIOProc(output, [](auto, auto) {});
    const auto second = io.createIOProc(virtualDevice, [](auto, auto) {});
    const bool haveStarted = first->start() && second->start();
    const auto lines = log->lines();
    ChildProcess parted({"pw-link", "-d", "VintraAudioDevice:monitor_FL", "headless.output:playback_FL"});
    EXPECT_EQ(parted.wait(), 0);
    EXPECT_TRUE(haveStarted);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("audio-io: VintraAudioDevice and headless.output run on one clock"),
              std::string::npos)
        << lines[0];
}

TEST_F(PipeWireDeviceIOTest, at44100HertzTheCyclesReallyRunAtThatRate) {
    ASSERT_TRUE(io.setNominalSampleRate(virtualDevice, 44'100));
    EXPECT_EQ(hardware.nominalSampleRate(virtualDevice), 44'100);
    CountedSoundListener heard;
    const auto proc = io.createIOProc(virtualDevice, heard.block());
    ASSERT_TRUE(proc && proc->start());
    // A program that plays at that rate, and another one that only sees what the server says.
    CountedSoundPlayer player;
    DeviceStream played(connection, "VintraAudioDevice", DeviceStream::Direction::output, player.block());
    ASSERT_TRUE(awaitCondition([&] { return heard.next >= 20'000; }));
    const PipeWireConnection another;
    EXPECT_EQ(another.devices().deviceNamed("VintraAudioDevice")->format.sampleRate, 44'100u);
    // The output's clock is not touched.
    EXPECT_EQ(another.devices().deviceNamed("headless.output")->format.sampleRate, 48'000u);
    EXPECT_EQ(heard.repeats, 0);
    EXPECT_EQ(heard.skips, 0);
    proc->stop();
    ASSERT_TRUE(io.setNominalSampleRate(virtualDevice, 48'000));
    EXPECT_EQ(hardware.nominalSampleRate(virtualDevice), 48'000);
}

TEST_F(PipeWireDeviceIOTest, aRateThatWasAskedForIsToldToThoseWhoListen) {
    auto mainThread = std::make_shared<LinuxEventLoop>();
    PipeWireAudioHardware told(connection, mainThread);
    int calls = 0;
    const auto listener =
        told.addPropertyListener(virtualDevice, AudioProperty::nominalSampleRate, [&] { ++calls; });
    ASSERT_TRUE(io.setNominalSampleRate(virtualDevice, 44'100));
    EXPECT_TRUE(mainThread->runUntil([&] { return calls > 0; }, 10'000'000'000));
    ASSERT_TRUE(io.setNominalSampleRate(virtualDevice, 48'000));
    EXPECT_TRUE(mainThread->runUntil([&] { return calls > 1; }, 10'000'000'000));
}

/// As where the user has fixed the rate of all that the server does.
class FixedGraphRate {
public:
    FixedGraphRate() { say("48000"); }
    ~FixedGraphRate() { say("0"); }
    FixedGraphRate(const FixedGraphRate&) = delete;
    FixedGraphRate& operator=(const FixedGraphRate&) = delete;

private:
    static void say(const std::string& rate) {
        ChildProcess tool({"pw-metadata", "-n", "settings", "0", "clock.force-rate", rate});
        tool.wait();
    }
};

TEST_F(PipeWireDeviceIOTest, aRateThatIsRefusedLeavesNothingBehind) {
    const auto pins = [] { return ChildProcess({"pw-cli", "ls", "Node"}).restOfOutput().find("vintra.pin"); };
    {
        const FixedGraphRate fixed;
        EXPECT_FALSE(io.setNominalSampleRate(virtualDevice, 44'100));
        EXPECT_TRUE(awaitCondition([&] { return pins() == std::string::npos; }));
    }
    io.setBufferFrameSize(virtualDevice, 512);
    const auto proc = io.createIOProc(virtualDevice, [](auto, auto) {});
    ASSERT_TRUE(proc && proc->start());
    EXPECT_EQ(hardware.nominalSampleRate(virtualDevice), 48'000) << "what was refused comes into force never";
    const PipeWireConnection another;
    EXPECT_EQ(another.devices().deviceNamed("VintraAudioDevice")->format.sampleRate, 48'000u);
    io.setBufferFrameSize(virtualDevice, 1024);
}

TEST_F(PipeWireDeviceIOTest, otherDevicesKeepTheirRateAndTheirCycles) {
    EXPECT_FALSE(io.setNominalSampleRate(output, 44'100));
    const auto before = io.bufferFrameSize(output);
    io.setBufferFrameSize(output, 64);
    EXPECT_EQ(io.bufferFrameSize(output), before);
    EXPECT_EQ(before, 1024u); // default.clock.quantum of the session's server
}

TEST_F(PipeWireDeviceIOTest, theRangeIsTheServers) {
    const auto range = io.bufferFrameSizeRange(virtualDevice);
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->minimum, 32); // default.clock.min-quantum and max-quantum of the session's server
    EXPECT_EQ(range->maximum, 8192);
    io.setBufferFrameSize(virtualDevice, 7);
    EXPECT_EQ(io.bufferFrameSize(virtualDevice), 32u);
    io.setBufferFrameSize(virtualDevice, 1024);
    EXPECT_EQ(io.bufferFrameSize(virtualDevice), 1024u);
}

TEST_F(PipeWireDeviceIOTest, aProgramThatIsContentWithLongCyclesDoesNotMakeThemLonger) {
    DeviceStream played(
        connection, "VintraAudioDevice", DeviceStream::Direction::output, [](auto, auto) {}, 4096);
    ASSERT_TRUE(played.awaitStreaming());
    std::atomic<uint32_t> longest{0};
    std::atomic<int> calls{0};
    const auto proc = io.createIOProc(virtualDevice, [&](AudioBufferList buffers, AudioBufferList) {
        // The first cycles may still be those of the time before.
        if (++calls > 5)
            longest = std::max<uint32_t>(longest, buffers[0].mDataByteSize / (2 * sizeof(float)));
    });
    ASSERT_TRUE(proc && proc->start());
    ASSERT_TRUE(awaitCondition([&] { return calls > 20; }));
    EXPECT_EQ(longest, 1024u);
    EXPECT_EQ(io.bufferFrameSize(virtualDevice), 1024u);
}

TEST_F(PipeWireDeviceIOTest, aBlockGetsTheDevicesOwnChannels) {
    const PublishedSink four("io-test-four", "audio.channels=4 audio.position=[FL,FR,RL,RR]");
    const PublishedSink one("io-test-one", "audio.channels=1 audio.position=[MONO]");
    ASSERT_TRUE(awaitDevice("io-test-four") && awaitDevice("io-test-one"));
    std::atomic<uint32_t> ofFour{0};
    std::atomic<uint32_t> ofOne{0};
    const auto first = io.createIOProc(number("io-test-four"), [&](AudioBufferList, AudioBufferList buffers) {
        ofFour = buffers[0].mNumberChannels;
    });
    const auto second = io.createIOProc(number("io-test-one"), [&](AudioBufferList, AudioBufferList buffers) {
        ofOne = buffers[0].mNumberChannels;
    });
    ASSERT_TRUE(first && first->start() && second && second->start());
    EXPECT_TRUE(awaitCondition([&] { return ofFour == 4u && ofOne == 1u; }));
}

TEST_F(PipeWireDeviceIOTest, aDeviceThatGoesEndsItsCyclesAndCantBeStartedAgain) {
    PublishedSink sink("io-test-going", "audio.channels=2 audio.position=[FL,FR]");
    ASSERT_TRUE(awaitDevice("io-test-going"));
    std::atomic<int> calls{0};
    const auto proc = io.createIOProc(number("io-test-going"), [&](auto, auto) { ++calls; });
    std::atomic<int> others{0};
    const auto other = io.createIOProc(output, [&](auto, auto) { ++others; });
    ASSERT_TRUE(proc && proc->start() && other && other->start());
    ASSERT_TRUE(awaitCondition([&] { return calls > 5; }));
    sink.unplug();
    ASSERT_TRUE(awaitCondition([&] { return number("io-test-going") == 0; }));
    const int atTheEnd = others;
    ASSERT_TRUE(awaitCondition([&] { return others > atTheEnd + 5; }));
    const int afterwards = calls;
    ASSERT_TRUE(awaitCondition([&] { return others > atTheEnd + 15; }));
    EXPECT_EQ(calls, afterwards);
    proc->stop();
    EXPECT_FALSE(proc->start());
}

TEST_F(PipeWireDeviceIOTest, theSessionsVirtualDeviceIsTheOneThatIsInstalled) {
    const std::string session = std::getenv("XDG_CONFIG_HOME");
    const std::string installed = contents(VINTRA_CHECKOUT "/packaging/pipewire.conf.d/vintra-audio.conf");
    EXPECT_FALSE(installed.empty());
    EXPECT_EQ(contents(session + "/pipewire/pipewire.conf.d/vintra-audio.conf"), installed);
    EXPECT_EQ(contents(session + "/pipewire/pipewire.conf").find("VintraAudioDevice"), std::string::npos);
    EXPECT_NE(virtualDevice, 0u);
}

} // namespace
} // namespace vintra

#include "Vintra/audio/SystemAudioRelay.h"

#include "Vintra/audio/BufferFrameSize.h"
#include "Vintra/platform/simulated/SimulatedAudioHardware.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <utility>

namespace vintra {
namespace {

/// Devices whose cycles the test runs by hand, and which write down what is asked of them.
class ScriptedDeviceIO : public AudioDeviceIO {
public:
    struct Device {
        std::optional<uint32_t> bufferFrames;
        std::optional<AudioBufferSizeRange> range;
        bool refusesProc = false;
        bool failsToStart = false;
        AudioIOBlock block = nullptr;
        bool isRunning = false;
    };

    std::unique_ptr<AudioIOProc> createIOProc(AudioObjectID device, AudioIOBlock block) override {
        record("create", device);
        if (devices[device].refusesProc) return nullptr;
        devices[device].block = std::move(block);
        return std::make_unique<Proc>(*this, device);
    }
    std::optional<uint32_t> bufferFrameSize(AudioObjectID device) const override {
        const auto found = devices.find(device);
        return found == devices.end() ? std::nullopt : found->second.bufferFrames;
    }
    std::optional<AudioBufferSizeRange> bufferFrameSizeRange(AudioObjectID device) const override {
        const auto found = devices.find(device);
        return found == devices.end() ? std::nullopt : found->second.range;
    }
    void setBufferFrameSize(AudioObjectID device, uint32_t frames) override {
        record("size " + std::to_string(frames), device);
        devices[device].bufferFrames = frames;
    }
    bool setNominalSampleRate(AudioObjectID, double) override { return false; }

    /// One cycle of a device that runs.
    void cycle(AudioObjectID device, std::vector<float>& samples) {
        ASSERT_TRUE(devices[device].isRunning);
        const AudioBuffer buffer{2, static_cast<uint32_t>(samples.size() * 4), samples.data()};
        devices[device].block({&buffer, 1}, {&buffer, 1});
    }

    std::map<AudioObjectID, Device> devices;
    std::map<AudioObjectID, std::string> names;
    std::vector<std::string> log;

private:
    class Proc : public AudioIOProc {
    public:
        Proc(ScriptedDeviceIO& io, AudioObjectID device)
            : io(io)
            , device(device) {}
        ~Proc() override { io.record("destroy", device); }
        bool start() override {
            io.record("start", device);
            io.devices[device].isRunning = !io.devices[device].failsToStart;
            return io.devices[device].isRunning;
        }
        void stop() override {
            io.record("stop", device);
            io.devices[device].isRunning = false;
        }

    private:
        ScriptedDeviceIO& io;
        AudioObjectID device;
    };
    void record(const std::string& what, AudioObjectID device) { log.push_back(what + " " + names[device]); }
};

class SystemAudioRelayTest : public testing::Test {
protected:
    SystemAudioRelayTest() {
        source = hardware.plug("VintraAudioDevice", "Vintra Audio", 2)->id;
        output = hardware.plug("speakers", "Speakers", 0)->id;
        io.names = {{source, "source"}, {output, "output"}};
        io.devices[source] = {512, AudioBufferSizeRange{14, 4096.5}};
        io.devices[output] = {256, AudioBufferSizeRange{32, 2048}};
    }
    std::unique_ptr<SystemAudioRelay> makeRelay(bool lowLatency = false) {
        return std::make_unique<SystemAudioRelay>(
            SystemAudioRelay::Services{hardware, io, *machine.wallClock}, source, output,
            SystemAudioRelay::Settings{.lowLatency = lowLatency,
                                       .pinnedTargetFrames =
                                           SystemAudioRelay::pinnedTargetFrames(*machine.userDefaults)});
    }

    SimulatedMachine machine;
    SimulatedAudioHardware hardware{machine.mainThread};
    ScriptedDeviceIO io;
    AudioObjectID source = 0;
    AudioObjectID output = 0;
};

TEST_F(SystemAudioRelayTest, constructionStartsNoIO) {
    const auto relay = makeRelay();
    EXPECT_TRUE(io.log.empty());
    EXPECT_EQ(relay->telemetry().targetFrames, 768);
    EXPECT_EQ(relay->telemetry().sourceBufferFrames, 512);
    EXPECT_EQ(relay->telemetry().outputBufferFrames, 256);
}

TEST_F(SystemAudioRelayTest, theOutputRunsBeforeTheSourceAndStopsAfterIt) {
    auto relay = makeRelay();
    EXPECT_TRUE(relay->start());
    EXPECT_EQ(io.log,
              (std::vector<std::string>{"create source", "create output", "start output", "start source"}));
    io.log.clear();
    relay->stop();
    const std::vector<std::string> stopped = {"stop source", "destroy source", "stop output",
                                              "destroy output"};
    EXPECT_EQ(io.log, stopped);
    relay->stop();
    relay.reset();
    EXPECT_EQ(io.log, stopped);
}

TEST_F(SystemAudioRelayTest, soundGoesFromOneDeviceToTheOther) {
    const auto relay = makeRelay();
    ASSERT_TRUE(relay->start());
    std::vector<float> in(768 * 2, 0.25f);
    std::vector<float> out(256 * 2, 9);
    io.cycle(source, in);
    io.cycle(output, out);
    EXPECT_EQ(out, std::vector<float>(512, 0.25f));
    EXPECT_EQ(relay->ioCounts().source, 1);
    EXPECT_EQ(relay->ioCounts().output, 1);
}

TEST_F(SystemAudioRelayTest, lowLatencyAsksForTheSourcesSmallBuffersAndPutsTheOldOnesBackFirst) {
    auto relay = makeRelay(true);
    EXPECT_EQ(io.log, std::vector<std::string>{"size 64 source"});
    EXPECT_EQ(relay->telemetry().sourceBufferFrames, 64);
    EXPECT_EQ(relay->telemetry().targetFrames, 320);
    relay->start();
    io.log.clear();
    relay.reset();
    EXPECT_EQ(io.log.front(), "size 512 source");
    EXPECT_EQ(io.log.size(), 5u);
}

TEST_F(SystemAudioRelayTest, lowLatencyStaysWithinWhatTheDeviceAllows) {
    io.devices[source].range = AudioBufferSizeRange{128, 1024};
    makeRelay(true);
    EXPECT_EQ(io.log, (std::vector<std::string>{"size 128 source", "size 512 source"}));
}

TEST_F(SystemAudioRelayTest, withoutAReadableRangeNothingIsSet) {
    io.devices[source].range = std::nullopt;
    const auto relay = makeRelay(true);
    EXPECT_TRUE(io.log.empty());
    EXPECT_EQ(relay->telemetry().sourceBufferFrames, 512);
    EXPECT_EQ(relay->telemetry().sourceRange, "unknown");
}

TEST_F(SystemAudioRelayTest, anUnreadableBufferIsNotPutBack) {
    io.devices[source].bufferFrames = std::nullopt;
    makeRelay(true);
    EXPECT_EQ(io.log, std::vector<std::string>{"size 64 source"});
}

TEST_F(SystemAudioRelayTest, unreadableBuffersGiveTheDefaultTarget) {
    io.devices.clear();
    EXPECT_EQ(makeRelay()->telemetry().targetFrames, 1024);
}

TEST_F(SystemAudioRelayTest, theSettingPinsTheTarget) {
    machine.userDefaults->set("RelayTargetFrames", int64_t{50});
    EXPECT_EQ(makeRelay()->telemetry().targetFrames, 128);
    machine.userDefaults->set("RelayTargetFrames", int64_t{100'000});
    EXPECT_EQ(makeRelay()->telemetry().targetFrames, 8192);
    machine.userDefaults->set("RelayTargetFrames", int64_t{-5});
    EXPECT_EQ(makeRelay()->telemetry().targetFrames, 768);
}

TEST_F(SystemAudioRelayTest, differentRatesAreNamedAndNothingIsCreated) {
    hardware.setNominalSampleRate("speakers", 44'100.9);
    auto relay = makeRelay(true);
    EXPECT_EQ(relay->rateMismatch(),
              "Vintra Audio is running at 48000Hz but your output device is at 44100Hz.");
    EXPECT_FALSE(relay->start());
    relay.reset();
    EXPECT_EQ(io.log, (std::vector<std::string>{"size 64 source", "size 512 source"}));
}

TEST_F(SystemAudioRelayTest, aRateThatCannotBeReadIsNoMismatch) {
    hardware.setNominalSampleRate("speakers", 44'100);
    hardware.device("speakers")->hasUnreadableRate = true;
    EXPECT_FALSE(makeRelay()->rateMismatch());
    hardware.setNominalSampleRate("VintraAudioDevice", 0);
    hardware.device("speakers")->hasUnreadableRate = false;
    EXPECT_FALSE(makeRelay()->rateMismatch());
}

TEST_F(SystemAudioRelayTest, aFailedStartIsUndoneByLettingGo) {
    struct Failure {
        AudioObjectID device;
        bool refusesProc;
        std::vector<std::string> log;
    };
    const std::vector<Failure> failures = {
        {source, true, {"create source"}},
        {output, true, {"create source", "create output", "stop source", "destroy source"}},
        {output,
         false,
         {"create source", "create output", "start output", "stop source", "destroy source", "stop output",
          "destroy output"}},
        {source,
         false,
         {"create source", "create output", "start output", "start source", "stop source", "destroy source",
          "stop output", "destroy output"}},
    };
    for (const Failure& failure : failures) {
        io.log.clear();
        io.devices[failure.device].refusesProc = failure.refusesProc;
        io.devices[failure.device].failsToStart = !failure.refusesProc;
        EXPECT_FALSE(makeRelay()->start());
        EXPECT_EQ(io.log, failure.log);
        io.devices[failure.device].refusesProc = io.devices[failure.device].failsToStart = false;
    }
}

TEST_F(SystemAudioRelayTest, telemetryNamesTheDeviceTheRangeAndTheTime) {
    const auto relay = makeRelay();
    EXPECT_EQ(relay->telemetry().seconds, 0);
    EXPECT_FALSE(relay->telemetry().startedAt);
    relay->start();
    machine.run(90);
    const auto telemetry = relay->telemetry();
    EXPECT_EQ(telemetry.destination, "Speakers");
    EXPECT_EQ(telemetry.sourceRange, "14-4096");
    EXPECT_EQ(telemetry.sampleRate, 48'000);
    EXPECT_NEAR(telemetry.seconds, 90, 1e-6);
    EXPECT_TRUE(telemetry.startedAt);
    hardware.unplug("speakers");
    EXPECT_EQ(relay->telemetry().destination, "device " + std::to_string(output));
}

TEST_F(SystemAudioRelayTest, stoppingSilencesWhatIsLeftInTheRing) {
    const auto relay = makeRelay();
    ASSERT_TRUE(relay->start());
    std::vector<float> in(768 * 2, 0.25f);
    std::vector<float> out(256 * 2);
    io.cycle(source, in);
    io.cycle(output, out);
    EXPECT_EQ(relay->telemetry().reprimes, 1);
    relay->stop();
    EXPECT_FALSE(io.devices[source].isRunning);
    EXPECT_FALSE(io.devices[output].isRunning);
    EXPECT_EQ(relay->telemetry().fillNow, 512); // the counters stay to be read
}

} // namespace
} // namespace vintra

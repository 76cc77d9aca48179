#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <vector>

namespace vintra {
namespace {

class SimulatedAudioDeviceIOTest : public testing::Test {
protected:
    SimulatedAudioDeviceIOTest() {
        SimulatedAudioDevice loopback;
        loopback.uid = "loopback";
        loopback.name = "Loopback";
        loopback.inputStreamChannels = {2};
        loopback.outputStreamChannels = {2};
        loopback.isLoopback = true;
        source = machine.audioHardware->plug(loopback);
        SimulatedAudioDevice speakers;
        speakers.uid = "speakers";
        speakers.name = "Speakers";
        speakers.inputStreamChannels = {};
        speakers.outputStreamChannels = {2};
        output = machine.audioHardware->plug(speakers);
    }
    std::unique_ptr<AudioIOProc> count(const std::shared_ptr<SimulatedAudioDevice>& device) {
        return io.createIOProc(device->id, [this](AudioBufferList input, AudioBufferList out) {
            const auto& list = input.empty() ? out : input;
            cycles.push_back(list.front().mDataByteSize / 8);
            times.push_back(machine.time->nowSeconds());
        });
    }

    SimulatedMachine machine;
    SimulatedAudioDeviceIO& io = *machine.audioDeviceIO;
    std::shared_ptr<SimulatedAudioDevice> source;
    std::shared_ptr<SimulatedAudioDevice> output;
    std::vector<uint32_t> cycles; ///< frames of each
    std::vector<double> times;
};

TEST_F(SimulatedAudioDeviceIOTest, aCycleComesWhenItsFramesHavePassed) {
    const auto proc = count(output);
    machine.run(1);
    EXPECT_TRUE(cycles.empty()) << "it hasn't been started";
    const double begin = machine.time->nowSeconds();
    ASSERT_TRUE(proc->start());
    machine.run(1);
    ASSERT_EQ(cycles.size(), 93u); // of 93.75
    EXPECT_NEAR(times[0], begin + 512 / 48'000.0, 1e-8);
    EXPECT_NEAR(times[92], begin + 93 * 512 / 48'000.0, 1e-8);
    proc->stop();
    machine.run(1);
    EXPECT_EQ(cycles.size(), 93u);
    EXPECT_EQ(io.runningProcs(), 0);
}

TEST_F(SimulatedAudioDeviceIOTest, aClockThatRunsFastMakesMoreCycles) {
    output->clockRatio = 1 + 1000e-6;
    const auto proc = count(output);
    proc->start();
    machine.run(100);
    EXPECT_EQ(cycles.size(), 9384u); // of 9384.375; without the drift it is 9375
}

TEST_F(SimulatedAudioDeviceIOTest, aLateCycleDoesNotDelayTheNext) {
    output->cycleLateness = [](int64_t cycle) { return cycle == 1 ? 0.005 : 0; };
    const auto proc = count(output);
    const double begin = machine.time->nowSeconds();
    proc->start();
    machine.run(0.1);
    EXPECT_NEAR(times[1], begin + 1024 / 48'000.0 + 0.005, 1e-8);
    EXPECT_NEAR(times[2], begin + 1536 / 48'000.0, 1e-8);
}

TEST_F(SimulatedAudioDeviceIOTest, anotherBufferSizeCountsFromTheNextCycle) {
    const auto proc = count(output);
    proc->start();
    io.setBufferFrameSize(output->id, 64);
    EXPECT_EQ(io.bufferFrameSize(output->id), 64u);
    machine.run(0.02);
    EXPECT_EQ(cycles.at(0), 512u);
    EXPECT_EQ(cycles.at(1), 64u);
    output->keepsBufferFrameSize = true;
    io.setBufferFrameSize(output->id, 256);
    EXPECT_EQ(io.bufferFrameSize(output->id), 64u);
}

TEST_F(SimulatedAudioDeviceIOTest, aDeviceThatVanishesCallsNoMore) {
    const auto proc = count(output);
    proc->start();
    machine.run(0.5);
    const size_t before = cycles.size();
    EXPECT_GT(before, 0u);
    machine.audioHardware->unplug("speakers");
    machine.audioHardware->plugAgain(output);
    machine.run(0.5);
    EXPECT_EQ(cycles.size(), before) << "the device that came back is another one";
    proc->stop();
    EXPECT_FALSE(proc->start()) << "its device is gone for good";
}

TEST_F(SimulatedAudioDeviceIOTest, aStalledDeviceRunsOnWithoutCycles) {
    const auto proc = count(output);
    proc->start();
    output->isStalled = true;
    machine.run(0.5);
    EXPECT_TRUE(cycles.empty());
    output->isStalled = false;
    machine.run(0.5);
    EXPECT_FALSE(cycles.empty());
}

TEST_F(SimulatedAudioDeviceIOTest, aRateChangesAfterItsDelay) {
    output->rateChangeSeconds = 0.3;
    output->sampleRates = {44'100, 48'000};
    EXPECT_TRUE(io.setNominalSampleRate(output->id, 44'100));
    EXPECT_EQ(machine.audioHardware->nominalSampleRate(output->id), 48'000);
    machine.run(0.31);
    EXPECT_EQ(machine.audioHardware->nominalSampleRate(output->id), 44'100);
    EXPECT_FALSE(io.setNominalSampleRate(output->id, 96'000));
    EXPECT_FALSE(io.setNominalSampleRate(9999, 48'000));
}

TEST_F(SimulatedAudioDeviceIOTest, scriptedRefusalsHappen) {
    output->refusesIOProc = true;
    EXPECT_EQ(count(output), nullptr);
    output->refusesIOProc = false;
    output->failsToStartIO = true;
    const auto proc = count(output);
    ASSERT_TRUE(proc);
    EXPECT_FALSE(proc->start());
    EXPECT_EQ(io.runningProcs(), 0);
    EXPECT_EQ(io.createIOProc(9999, [](AudioBufferList, AudioBufferList) {}), nullptr);
    EXPECT_EQ(io.bufferFrameSize(9999), std::nullopt);
    EXPECT_EQ(io.bufferFrameSizeRange(9999), std::nullopt);
}

TEST_F(SimulatedAudioDeviceIOTest, whatProgramsPlayIsHeardByEveryListenerOfTheLoopback) {
    source->signal = [](uint32_t channel, int64_t frame, CMTime) {
        return static_cast<float>(frame % 65'536) * (channel == 0 ? 1.0f : -1.0f);
    };
    std::vector<float> first;
    std::vector<float> second;
    const auto listener = [&](std::vector<float>& to) {
        return io.createIOProc(source->id, [&to](AudioBufferList input, AudioBufferList) {
            to.insert(to.end(), input[0].mData, input[0].mData + input[0].mDataByteSize / 4);
        });
    };
    const auto one = listener(first);
    const auto other = listener(second);
    one->start();
    machine.run(512 * 3 / 48'000.0);
    other->start();
    machine.run(0.1);
    ASSERT_GT(second.size(), 1024u);
    for (size_t i = 2; i < first.size(); i += 2) {
        ASSERT_EQ(first[i], first[i - 2] + 1) << "a frame is missing";
        ASSERT_EQ(first[i + 1], -first[i]);
    }
    EXPECT_EQ(second[0], first[3 * 512 * 2]) << "both hear the same frame at the same time";
}

TEST_F(SimulatedAudioDeviceIOTest, whatAnIOPlaysIntoTheLoopbackComesBackOneCycleLater) {
    std::vector<float> heard;
    float next = 1;
    const auto proc = io.createIOProc(source->id, [&](AudioBufferList input, AudioBufferList out) {
        for (size_t i = 0; i < 1024; i += 2) {
            heard.push_back(input[0].mData[i]);
            out[0].mData[i] = next++;
        }
    });
    proc->start();
    machine.run(0.05);
    ASSERT_EQ(heard.size(), 4 * 512u);
    EXPECT_EQ(heard[511], 0);
    EXPECT_EQ(heard[512], 1);
    EXPECT_EQ(heard[2047], 1536);
}

} // namespace
} // namespace vintra

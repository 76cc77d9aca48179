#pragma once

#include "Vintra/platform/AudioDeviceIO.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vintra {

// What every backend's device IO owes. A backend takes the suite by
//
//     INSTANTIATE_TYPED_TEST_SUITE_P(Name, AudioDeviceIOConformance, SomeAudioBackend);
//
// with a default-constructible class that brings up a machine with the virtual device and one real output,
// and has
//
//     AudioHardware& hardware();
//     AudioDeviceIO& io();
//     AudioObjectID virtualDevice();               // at its usual rate of 48 kHz
//     AudioObjectID output();                      // of two channels, at 48 kHz, and the default output
//     void turnVolume(float left, float right);    // of the virtual device, as the user does
//     bool waitUntil(std::function<bool()>);       // lets time go by until it holds; false after 10 s; the main
//                                                  // thread works meanwhile

/// What a block was called with. The block's own thread writes, any may read.
class CountedCycles {
public:
    AudioIOBlock block() {
        return [this](AudioBufferList input, AudioBufferList output) {
            isInBlock = true;
            for (const AudioBuffer& buffer : input)
                note(buffer, inputChannels);
            for (const AudioBuffer& buffer : output)
                note(buffer, outputChannels);
            ++calls;
            isInBlock = false;
        };
    }
    std::atomic<int> calls{0};
    std::atomic<bool> isInBlock{false};
    std::atomic<uint32_t> inputChannels{0}; ///< of the latest stream; 0: none was there
    std::atomic<uint32_t> outputChannels{0};
    std::atomic<uint32_t> frames{0}; ///< of the latest cycle
    std::atomic<bool> wasMalformed{false};

private:
    void note(const AudioBuffer& buffer, std::atomic<uint32_t>& channels) {
        channels = buffer.mNumberChannels;
        const auto frameLength = buffer.mNumberChannels * static_cast<uint32_t>(sizeof(float));
        if (buffer.mData == nullptr || frameLength == 0 || buffer.mDataByteSize % frameLength != 0) {
            wasMalformed = true;
        } else {
            frames = buffer.mDataByteSize / frameLength;
        }
    }
};

template <typename Backend>
class AudioDeviceIOConformance : public ::testing::Test {
protected:
    static constexpr AudioObjectID kUnknownDevice = 999'999;

    std::unique_ptr<AudioIOProc> make(AudioObjectID device) {
        return backend.io().createIOProc(device, cycles.block());
    }
    /// As the relay waits for it.
    bool awaitRate(double rate) {
        return backend.waitUntil(
            [&] { return backend.hardware().nominalSampleRate(backend.virtualDevice()) == rate; });
    }
    bool awaitCalls(int more) {
        const int before = cycles.calls;
        return backend.waitUntil([&] { return cycles.calls >= before + more; });
    }

    CountedCycles cycles; ///< outlives the devices
    Backend backend;
};
TYPED_TEST_SUITE_P(AudioDeviceIOConformance);

TYPED_TEST_P(AudioDeviceIOConformance, aBlockOnTheOutputFillsItsTwoChannels) {
    const auto proc = this->make(this->backend.output());
    ASSERT_NE(proc, nullptr);
    ASSERT_TRUE(proc->start());
    ASSERT_TRUE(this->awaitCalls(10));
    proc->stop();
    EXPECT_EQ(this->cycles.outputChannels, 2u);
    EXPECT_EQ(this->cycles.inputChannels, 0u);
    EXPECT_GT(this->cycles.frames, 0u);
    EXPECT_FALSE(this->cycles.wasMalformed);
}

TYPED_TEST_P(AudioDeviceIOConformance, aBlockOnTheVirtualDeviceHearsTwoChannelsAlsoWhenNobodyPlays) {
    const auto proc = this->make(this->backend.virtualDevice());
    ASSERT_NE(proc, nullptr);
    ASSERT_TRUE(proc->start());
    ASSERT_TRUE(this->awaitCalls(10));
    proc->stop();
    EXPECT_EQ(this->cycles.inputChannels, 2u);
    EXPECT_GT(this->cycles.frames, 0u);
    EXPECT_FALSE(this->cycles.wasMalformed);
}

TYPED_TEST_P(AudioDeviceIOConformance, aProcIsMadeStopped) {
    const auto proc = this->make(this->backend.output());
    const auto other = this->backend.io().createIOProc(this->backend.output(), [](auto, auto) {});
    CountedCycles running;
    const auto third = this->backend.io().createIOProc(this->backend.output(), running.block());
    ASSERT_TRUE(proc && other && third);
    ASSERT_TRUE(third->start());
    ASSERT_TRUE(this->backend.waitUntil([&] { return running.calls >= 10; }));
    third->stop();
    EXPECT_EQ(this->cycles.calls, 0);
}

TYPED_TEST_P(AudioDeviceIOConformance, whenStopReturnsNoCallIsUnderWayAndNoneBegins) {
    CountedCycles witness;
    const auto running = this->backend.io().createIOProc(this->backend.output(), witness.block());
    ASSERT_TRUE(running && running->start());
    const auto proc = this->make(this->backend.output());
    ASSERT_NE(proc, nullptr);
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(proc->start());
        ASSERT_TRUE(this->awaitCalls(2));
        proc->stop();
        EXPECT_FALSE(this->cycles.isInBlock);
        const int calls = this->cycles.calls;
        const int seen = witness.calls;
        ASSERT_TRUE(this->backend.waitUntil([&] { return witness.calls >= seen + 4; }));
        EXPECT_EQ(this->cycles.calls, calls);
    }
    running->stop();
}

TYPED_TEST_P(AudioDeviceIOConformance, aProcThatGoesHasStopped) {
    auto proc = this->make(this->backend.output());
    ASSERT_TRUE(proc && proc->start());
    ASSERT_TRUE(this->awaitCalls(2));
    proc.reset();
    const int calls = this->cycles.calls;
    CountedCycles witness;
    const auto other = this->backend.io().createIOProc(this->backend.output(), witness.block());
    ASSERT_TRUE(other && other->start());
    ASSERT_TRUE(this->backend.waitUntil([&] { return witness.calls >= 5; }));
    other->stop();
    EXPECT_EQ(this->cycles.calls, calls);
}

TYPED_TEST_P(AudioDeviceIOConformance, stoppingWhatDoesNotRunIsHarmless) {
    const auto proc = this->make(this->backend.output());
    ASSERT_NE(proc, nullptr);
    proc->stop();
    ASSERT_TRUE(proc->start());
    proc->stop();
    proc->stop();
}

TYPED_TEST_P(AudioDeviceIOConformance, bothDevicesRunAtOnce) {
    CountedCycles heard;
    const auto output = this->make(this->backend.output());
    const auto source = this->backend.io().createIOProc(this->backend.virtualDevice(), heard.block());
    ASSERT_TRUE(output && source);
    ASSERT_TRUE(output->start());
    ASSERT_TRUE(source->start());
    EXPECT_TRUE(this->backend.waitUntil([&] { return this->cycles.calls >= 10 && heard.calls >= 10; }));
    source->stop();
    output->stop();
}

TYPED_TEST_P(AudioDeviceIOConformance, aDeviceThatIsNotThereGivesNothing) {
    AudioDeviceIO& io = this->backend.io();
    EXPECT_EQ(this->make(this->kUnknownDevice), nullptr);
    EXPECT_FALSE(io.bufferFrameSize(this->kUnknownDevice).has_value());
    EXPECT_FALSE(io.bufferFrameSizeRange(this->kUnknownDevice).has_value());
    EXPECT_FALSE(io.setNominalSampleRate(this->kUnknownDevice, 48'000));
    io.setBufferFrameSize(this->kUnknownDevice, 64);
}

TYPED_TEST_P(AudioDeviceIOConformance, theBufferSizeIsThatOfTheCyclesAndInItsRange) {
    for (const AudioObjectID device : {this->backend.virtualDevice(), this->backend.output()}) {
        const auto proc = this->make(device);
        ASSERT_TRUE(proc && proc->start());
        EXPECT_TRUE(this->backend.waitUntil([&] {
            return this->cycles.calls > 2 &&
                   this->backend.io().bufferFrameSize(device) == this->cycles.frames;
        }));
        proc->stop();
        this->cycles.calls = 0;
        const auto range = this->backend.io().bufferFrameSizeRange(device);
        const auto size = this->backend.io().bufferFrameSize(device);
        ASSERT_TRUE(range && size);
        EXPECT_LE(range->minimum, *size);
        EXPECT_GE(range->maximum, *size);
    }
}

TYPED_TEST_P(AudioDeviceIOConformance, aBufferSizeAskedOfTheVirtualDeviceIsReadBackAndTakesEffect) {
    AudioDeviceIO& io = this->backend.io();
    const AudioObjectID device = this->backend.virtualDevice();
    const auto before = io.bufferFrameSize(device);
    ASSERT_TRUE(before.has_value());
    io.setBufferFrameSize(device, 64);
    EXPECT_EQ(io.bufferFrameSize(device), 64u);
    const auto proc = this->make(device);
    ASSERT_TRUE(proc && proc->start());
    EXPECT_TRUE(this->backend.waitUntil([&] { return this->cycles.frames == 64; }));
    io.setBufferFrameSize(device, 256);
    EXPECT_TRUE(this->backend.waitUntil([&] { return this->cycles.frames == 256; }));
    EXPECT_EQ(io.bufferFrameSize(device), 256u);
    proc->stop();
    io.setBufferFrameSize(device, *before);
    EXPECT_EQ(io.bufferFrameSize(device), before);
    ASSERT_TRUE(proc->start());
    EXPECT_TRUE(this->backend.waitUntil([&] { return this->cycles.frames == *before; }));
    proc->stop();
}

TYPED_TEST_P(AudioDeviceIOConformance, theVirtualDeviceTakesTheTwoUsualRatesAndNoOther) {
    const AudioObjectID device = this->backend.virtualDevice();
    EXPECT_FALSE(this->backend.io().setNominalSampleRate(device, 96'000));
    EXPECT_FALSE(this->backend.io().setNominalSampleRate(device, 0));
    EXPECT_EQ(this->backend.hardware().nominalSampleRate(device), 48'000);
    EXPECT_TRUE(this->backend.io().setNominalSampleRate(device, 44'100));
    EXPECT_TRUE(this->awaitRate(44'100));
    const auto proc = this->make(device);
    ASSERT_TRUE(proc && proc->start());
    EXPECT_TRUE(this->awaitCalls(10));
    EXPECT_EQ(this->backend.hardware().nominalSampleRate(device), 44'100);
    proc->stop();
    EXPECT_TRUE(this->backend.io().setNominalSampleRate(device, 48'000));
    EXPECT_TRUE(this->awaitRate(48'000));
}

TYPED_TEST_P(AudioDeviceIOConformance, aDefaultOutputThatWasSetIsReadBack) {
    AudioHardware& hardware = this->backend.hardware();
    ASSERT_EQ(hardware.defaultOutputDevice(), this->backend.output());
    EXPECT_EQ(hardware.defaultSystemOutputDevice(), this->backend.output());
    ASSERT_TRUE(hardware.setDefaultOutputDevice(this->backend.virtualDevice()));
    EXPECT_EQ(hardware.defaultOutputDevice(), this->backend.virtualDevice());
    EXPECT_EQ(hardware.defaultSystemOutputDevice(), this->backend.output());
    ASSERT_TRUE(hardware.setDefaultOutputDevice(this->backend.output()));
    EXPECT_EQ(hardware.defaultOutputDevice(), this->backend.output());
    EXPECT_FALSE(hardware.setDefaultOutputDevice(this->kUnknownDevice));
    EXPECT_EQ(hardware.defaultOutputDevice(), this->backend.output());
}

TYPED_TEST_P(AudioDeviceIOConformance, anotherDefaultOutputIsToldOnceAndOnlyWhoListens) {
    AudioHardware& hardware = this->backend.hardware();
    int calls = 0;
    auto listener = hardware.addPropertyListener(kAudioObjectSystemObject, AudioProperty::defaultOutputDevice,
                                                 [&] { ++calls; });
    ASSERT_NE(listener, nullptr);
    ASSERT_TRUE(hardware.setDefaultOutputDevice(this->backend.virtualDevice()));
    EXPECT_TRUE(this->backend.waitUntil([&] { return calls == 1; }));
    ASSERT_TRUE(hardware.setDefaultOutputDevice(this->backend.output()));
    EXPECT_TRUE(this->backend.waitUntil([&] { return calls == 2; }));
    listener.reset();
    int others = 0;
    const auto other = hardware.addPropertyListener(kAudioObjectSystemObject,
                                                    AudioProperty::defaultOutputDevice, [&] { ++others; });
    ASSERT_TRUE(hardware.setDefaultOutputDevice(this->backend.virtualDevice()));
    ASSERT_TRUE(hardware.setDefaultOutputDevice(this->backend.output()));
    EXPECT_TRUE(this->backend.waitUntil([&] { return others >= 1; }));
    EXPECT_EQ(calls, 2);
}

TYPED_TEST_P(AudioDeviceIOConformance, theVirtualDevicesVolumeIsReadAndItsTurningIsTold) {
    AudioHardware& hardware = this->backend.hardware();
    const AudioObjectID device = this->backend.virtualDevice();
    const auto has = [&](float left, float right) {
        return this->backend.waitUntil([&] {
            return hardware.outputVolume(device) == std::vector<float>{left, right};
        });
    };
    int calls = 0;
    const auto listener = hardware.addPropertyListener(device, AudioProperty::outputVolume, [&] { ++calls; });
    ASSERT_NE(listener, nullptr);
    this->backend.turnVolume(0.5f, 0.25f);
    EXPECT_TRUE(has(0.5f, 0.25f));
    EXPECT_TRUE(this->backend.waitUntil([&] { return calls >= 1; }));
    this->backend.turnVolume(1, 1);
    EXPECT_TRUE(has(1, 1));
    EXPECT_TRUE(this->backend.waitUntil([&] { return calls >= 2; }));
    EXPECT_EQ(hardware.outputVolume(this->kUnknownDevice), std::nullopt);
}

TYPED_TEST_P(AudioDeviceIOConformance, behindADeviceThatIsNoFilterIsTheDeviceItself) {
    AudioHardware& hardware = this->backend.hardware();
    EXPECT_EQ(hardware.deviceBehind(this->backend.output()), this->backend.output());
    EXPECT_EQ(hardware.deviceBehind(this->backend.virtualDevice()), this->backend.virtualDevice());
    EXPECT_EQ(hardware.deviceBehind(this->kUnknownDevice), std::nullopt);
}

REGISTER_TYPED_TEST_SUITE_P(AudioDeviceIOConformance, aBlockOnTheOutputFillsItsTwoChannels,
                            aBlockOnTheVirtualDeviceHearsTwoChannelsAlsoWhenNobodyPlays, aProcIsMadeStopped,
                            whenStopReturnsNoCallIsUnderWayAndNoneBegins, aProcThatGoesHasStopped,
                            stoppingWhatDoesNotRunIsHarmless, bothDevicesRunAtOnce,
                            aDeviceThatIsNotThereGivesNothing, theBufferSizeIsThatOfTheCyclesAndInItsRange,
                            aBufferSizeAskedOfTheVirtualDeviceIsReadBackAndTakesEffect,
                            theVirtualDeviceTakesTheTwoUsualRatesAndNoOther,
                            aDefaultOutputThatWasSetIsReadBack,
                            anotherDefaultOutputIsToldOnceAndOnlyWhoListens,
                            theVirtualDevicesVolumeIsReadAndItsTurningIsTold,
                            behindADeviceThatIsNoFilterIsTheDeviceItself);

} // namespace vintra

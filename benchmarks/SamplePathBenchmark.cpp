// What a capture queue pays for each buffer of 512 frames on its way into a file: gain with its peak, the
// test for signal, and one channel taken out of a device of 32. Next to them a memcpy of the same bytes. A
// second of sound is 93.75 such buffers.
//
//     build/release/bin/SamplePathBenchmark

#include "Vintra/audio/ApplyGain.h"
#include "Vintra/audio/AudioRoutingCache.h"
#include "Vintra/audio/ContainsNonZeroSample.h"
#include "Vintra/audio/ExtraInputTrack.h"
#include "Vintra/audio/ExtractMonoChannel.h"
#include "Vintra/audio/LevelsModel.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstring>
#include <functional>
#include <utility>

namespace {

using namespace vintra;

constexpr size_t kFramesPerBuffer = 512;
constexpr int kManyChannels = 32;

CMSampleBuffer floatSound(size_t frames, uint32_t channels, float amplitude) {
    auto data = CMBlockBuffer::make(frames * channels * sizeof(float));
    std::vector<float> samples(frames * channels);
    for (size_t index = 0; index < samples.size(); ++index)
        samples[index] = amplitude * std::sin(static_cast<float>(index) * 0.05f);
    std::memcpy(data->contiguousBytes(), samples.data(), data->dataLength());
    return CMSampleBuffer::makeAudio(
        std::move(data), std::make_shared<const CMFormatDescription>(floatPCMDescription(48000, channels)),
        static_cast<int64_t>(frames), {CMTimeMake(1, 48000), CMTimeMake(0, 48000), kCMTimeInvalid});
}

CMSampleBuffer integerSound(size_t frames, int16_t amplitude) {
    auto data = CMBlockBuffer::make(frames * sizeof(int16_t));
    for (size_t index = 0; index < frames; ++index) {
        const auto sample = static_cast<int16_t>(index % 2 == 0 ? amplitude : -amplitude);
        std::memcpy(data->contiguousBytes() + index * sizeof sample, &sample, sizeof sample);
    }
    AudioStreamBasicDescription description = floatPCMDescription(48000, 1);
    description.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked;
    description.mBytesPerPacket = description.mBytesPerFrame = sizeof(int16_t);
    description.mBitsPerChannel = 16;
    return CMSampleBuffer::makeAudio(
        std::move(data), std::make_shared<const CMFormatDescription>(description),
        static_cast<int64_t>(frames), {CMTimeMake(1, 48000), CMTimeMake(0, 48000), kCMTimeInvalid});
}

void countBytes(benchmark::State& state, size_t bytesPerBuffer) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytesPerBuffer));
}

/// The measure: a copy of as many bytes within the cache.
void copy(benchmark::State& state) {
    const auto bytes = static_cast<size_t>(state.range(0)) * sizeof(float);
    std::vector<uint8_t> from(bytes, 1);
    std::vector<uint8_t> to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    countBytes(state, bytes);
}
BENCHMARK(copy)->Arg(kFramesPerBuffer)->Arg(kFramesPerBuffer* kManyChannels);

/// Peak and level alone.
void gainOfUnity(benchmark::State& state) {
    const auto frames = static_cast<size_t>(state.range(0));
    const auto sound = floatSound(frames, 1, 0.5f);
    for (auto _ : state)
        benchmark::DoNotOptimize(applyGain(sound, 0, kGainCeiling).level);
    countBytes(state, frames * sizeof(float));
}
BENCHMARK(gainOfUnity)->Arg(kFramesPerBuffer)->Arg(kFramesPerBuffer* kManyChannels);

/// Peak, level and scaling. Two gains that undo each other, so that the samples stay of one size.
void gainUpAndDown(benchmark::State& state) {
    const auto frames = static_cast<size_t>(state.range(0));
    const auto sound = floatSound(frames, 1, 0.1f);
    double gain = 6;
    for (auto _ : state) {
        benchmark::DoNotOptimize(applyGain(sound, gain, kGainCeiling).level);
        gain = -gain;
    }
    countBytes(state, frames * sizeof(float));
}
BENCHMARK(gainUpAndDown)->Arg(kFramesPerBuffer)->Arg(kFramesPerBuffer* kManyChannels);

void gainUpAndDownOfIntegers(benchmark::State& state) {
    const auto sound = integerSound(kFramesPerBuffer, 3000);
    double gain = 6;
    for (auto _ : state) {
        benchmark::DoNotOptimize(applyGain(sound, gain, kGainCeiling).level);
        gain = -gain;
    }
    countBytes(state, kFramesPerBuffer * sizeof(int16_t));
}
BENCHMARK(gainUpAndDownOfIntegers);

/// The whole scan: a buffer of zeros.
void signalInSilence(benchmark::State& state) {
    const auto frames = static_cast<size_t>(state.range(0));
    const auto sound = floatSound(frames, 1, 0);
    sound.dataBuffer()->fillDataBytes(0, 0, sound.dataBuffer()->dataLength()); // no negative zeros either
    for (auto _ : state)
        benchmark::DoNotOptimize(containsNonZeroSample(sound));
    countBytes(state, frames * sizeof(float));
}
BENCHMARK(signalInSilence)->Arg(kFramesPerBuffer)->Arg(kFramesPerBuffer* kManyChannels);

void oneChannelOf32(benchmark::State& state) {
    const auto sound = floatSound(kFramesPerBuffer, kManyChannels, 0.5f);
    MonoFormatCache formats;
    int channel = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(extractMonoChannel(channel, kManyChannels, sound, 48000.0, formats));
        channel = (channel + 1) % kManyChannels;
    }
    countBytes(state, kFramesPerBuffer * sizeof(float));
}
BENCHMARK(oneChannelOf32);

class TrivialInput : public AVAssetWriterInput {
public:
    AVMediaType mediaType() const override { return AVMediaType::audio; }
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return true; }
    bool isReadyForMoreMediaData() const override { return true; }
    bool append(const CMSampleBuffer& sample) override { return sample.isValid(); }
    void extendLast(CMTime) override {}
    void markAsFinished() override {}

private:
    AVOutputSettings settings;
};

class DroppingMainThread : public MainThread {
public:
    void post(std::function<void()> work) override { benchmark::DoNotOptimize(work); }
    bool isCurrent() const override { return false; }
};

/// All 32 channels of a device, each extracted, raised, metered and appended to a track whose file takes
/// everything and does nothing. 100 times real time is 1% of a core.
void allChannelsOf32(benchmark::State& state) {
    const auto sound = floatSound(kFramesPerBuffer, kManyChannels, 0.1f);
    const LinuxHostClock clock;
    DroppingMainThread mainThread;
    const auto levels = LevelsModel::make(clock, mainThread);
    MonoFormatCache formats;
    std::vector<ExtraInputTrack> tracks(kManyChannels);
    for (int channel = 0; channel < kManyChannels; ++channel) {
        tracks[static_cast<size_t>(channel)].input = std::make_shared<TrivialInput>();
        tracks[static_cast<size_t>(channel)].configID = UUID{{static_cast<uint8_t>(channel)}};
    }
    for (auto _ : state) {
        for (int channel = 0; channel < kManyChannels; ++channel) {
            const auto mono = extractMonoChannel(channel, kManyChannels, sound, 48000.0, formats);
            const auto [gained, level] = applyGain(*mono, 6, kGainCeiling);
            auto& track = tracks[static_cast<size_t>(channel)];
            track.append(gained);
            levels->publish(LevelKey::extra(track.configID), level);
        }
    }
    countBytes(state, kFramesPerBuffer * kManyChannels * sizeof(float));
    state.counters["times_real_time"] = benchmark::Counter(
        static_cast<double>(state.iterations() * kFramesPerBuffer) / 48000, benchmark::Counter::kIsRate);
}
BENCHMARK(allChannelsOf32);

} // namespace

BENCHMARK_MAIN();

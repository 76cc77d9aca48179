#include "Vintra/audio/RelayRing.h"

#include <algorithm>
#include <cstring>

namespace vintra {
namespace {

constexpr int64_t kRingChannels = 2;
constexpr int64_t kBytesPerFrame = kRingChannels * static_cast<int64_t>(sizeof(float));
constexpr int64_t kUnderrunsThatGrow = 3;

const AudioBuffer* firstStereoStream(AudioBufferList input) {
    const auto found =
        std::ranges::find_if(input, [](const AudioBuffer& buffer) { return buffer.mNumberChannels == 2; });
    return found == input.end() ? nullptr : &*found;
}

const AudioBuffer* firstStreamOfTwoOrMore(AudioBufferList output) {
    const auto found =
        std::ranges::find_if(output, [](const AudioBuffer& buffer) { return buffer.mNumberChannels >= 2; });
    return found == output.end() ? nullptr : &*found;
}

void silence(float* samples, int64_t frames, uint32_t channels) {
    std::memset(samples, 0, static_cast<size_t>(frames) * channels * sizeof(float));
}

} // namespace

RelayRing::RelayRing(RelayTarget target)
    : targetIsPinned(target.isPinned)
    , ring(std::make_unique<float[]>(capacityFrames * kRingChannels)) {
    state.targetFillFrames = target.frames;
}

void RelayRing::consume(AudioBufferList input) noexcept {
    const AudioBuffer* const buffer = firstStereoStream(input);
    if (buffer == nullptr || buffer->mData == nullptr) return;
    const int64_t frames = buffer->mDataByteSize / kBytesPerFrame;
    if (frames < 1) return;

    const Begun begun = beginConsume(frames);
    const int64_t skip = begun.fill > begun.target + relayBand(begun.target) ? 1 : 0;
    const bool overrun = begun.fill + frames - skip > capacityFrames;
    const int64_t writable = overrun ? std::max<int64_t>(capacityFrames - begun.fill, 0) : frames;
    // In a full ring there is no room for the frame that would be skipped either.
    const int64_t stored = std::max<int64_t>(writable - skip, 0);
    copyIn(begun.index, buffer->mData + skip * kRingChannels, stored);
    endConsume(stored, skip == 1, overrun);
}

void RelayRing::produce(AudioBufferList output) noexcept {
    const AudioBuffer* const buffer = firstStreamOfTwoOrMore(output);
    if (buffer == nullptr || buffer->mData == nullptr) return;
    const uint64_t frameLength = sizeof(float) * uint64_t{buffer->mNumberChannels};
    const auto frames = static_cast<int64_t>(buffer->mDataByteSize / frameLength);
    if (frames < 1) return;

    const Begun begun = beginProduce(frames);
    if (!begun.primed) {
        if (begun.fill < begun.target) {
            silence(buffer->mData, frames, buffer->mNumberChannels);
            applyVolume(*buffer, frames);
            return;
        }
        prime();
    }
    const Played played = play(begun, *buffer, frames);
    applyVolume(*buffer, frames);
    endProduce(played);
}

void RelayRing::setVolume(float left, float right) {
    leftVolume.store(left, std::memory_order_relaxed);
    rightVolume.store(right, std::memory_order_relaxed);
}

void RelayRing::unprime() {
    RelayLockHold hold(lock);
    state.primed = false;
}

RelayCounters RelayRing::counters() const {
    RelayLockHold hold(lock);
    return state;
}

RelayRing::Begun RelayRing::beginConsume(int64_t frames) noexcept {
    RelayLockHold hold(lock);
    ++state.sourceIOCount;
    state.sourceCycleFrames = std::max(state.sourceCycleFrames, frames);
    return {state.fill(), state.targetFillFrames, state.writeIndex, state.primed};
}

void RelayRing::endConsume(int64_t stored, bool skipped, bool overrun) noexcept {
    RelayLockHold hold(lock);
    state.writeIndex += stored;
    state.framesIn += stored;
    if (skipped) {
        ++state.skips;
        if (state.firstSkipAtFrame < 0) state.firstSkipAtFrame = state.framesIn;
        state.lastSkipAtFrame = state.framesIn;
    }
    if (overrun) ++state.overruns;
    noteFill();
}

RelayRing::Begun RelayRing::beginProduce(int64_t frames) noexcept {
    RelayLockHold hold(lock);
    ++state.outputIOCount;
    state.outputCycleFrames = std::max(state.outputCycleFrames, frames);
    return {state.fill(), state.targetFillFrames, state.readIndex, state.primed};
}

void RelayRing::prime() noexcept {
    RelayLockHold hold(lock);
    state.primed = true;
    ++state.reprimes;
}

/// Plays the frames that there are, the first one twice if the fill is too low, and then silence.
RelayRing::Played RelayRing::play(const Begun& begun, const AudioBuffer& buffer, int64_t frames) noexcept {
    const uint32_t channels = buffer.mNumberChannels;
    Played played;
    played.repeated = begun.fill > 0 && begun.fill < begun.target - relayBand(begun.target);
    const int64_t doubled = played.repeated ? 1 : 0;
    played.consumed = std::clamp<int64_t>(begun.fill, 0, frames - doubled);
    played.silent = frames - doubled - played.consumed;

    float* to = buffer.mData;
    copyOut(begun.index, to, doubled, channels);
    to += doubled * channels;
    copyOut(begun.index, to, played.consumed, channels);
    to += played.consumed * channels;
    silence(to, played.silent, channels);
    return played;
}

void RelayRing::applyVolume(const AudioBuffer& buffer, int64_t frames) noexcept {
    const float wanted[2] = {leftVolume.load(std::memory_order_relaxed),
                             rightVolume.load(std::memory_order_relaxed)};
    for (uint32_t channel = 0; channel < kRingChannels; ++channel) {
        const float from = playedVolumes[channel];
        const float to = playedVolumes[channel] = wanted[channel];
        if (from == 1 && to == 1) continue; // to the bit
        const float step = (to - from) / static_cast<float>(frames);
        float* sample = buffer.mData + channel;
        for (int64_t frame = 1; frame <= frames; ++frame, sample += buffer.mNumberChannels)
            *sample *= frame == frames ? to : from + step * static_cast<float>(frame);
    }
}

void RelayRing::endProduce(const Played& played) noexcept {
    RelayLockHold hold(lock);
    state.readIndex += played.consumed;
    noteFill();
    state.framesOut += played.consumed;
    if (played.repeated) ++state.repeats;
    if (played.silent > 0) noteUnderrun();
}

void RelayRing::noteFill() noexcept {
    const int64_t fill = state.fill();
    if (fill > state.fillHigh) {
        state.fillHigh = fill;
        state.fillHighAtFrame = state.framesIn;
    }
    if (state.primed) state.fillLow = std::min(state.fillLow, fill);
}

void RelayRing::noteUnderrun() noexcept {
    ++state.underruns;
    ++state.underrunsSinceGrow;
    const bool grows = !targetIsPinned && state.underrunsSinceGrow >= kUnderrunsThatGrow &&
                       state.targetFillFrames < maxTargetFillFrames;
    if (!grows) return;
    state.targetFillFrames = std::min(2 * state.targetFillFrames, maxTargetFillFrames);
    state.underrunsSinceGrow = 0;
    ++state.grows;
    state.primed = false;
    state.fillLow = RelayCounters::kLargest;
}

void RelayRing::copyIn(int64_t index, const float* from, int64_t frames) noexcept {
    const int64_t position = index % capacityFrames;
    const int64_t beforeWrap = std::min(frames, capacityFrames - position);
    std::memcpy(ring.get() + position * kRingChannels, from,
                static_cast<size_t>(beforeWrap * kBytesPerFrame));
    std::memcpy(ring.get(), from + beforeWrap * kRingChannels,
                static_cast<size_t>((frames - beforeWrap) * kBytesPerFrame));
}

void RelayRing::copyOut(int64_t index, float* to, int64_t frames, uint32_t channels) const noexcept {
    if (channels == kRingChannels) {
        const int64_t position = index % capacityFrames;
        const int64_t beforeWrap = std::min(frames, capacityFrames - position);
        std::memcpy(to, ring.get() + position * kRingChannels,
                    static_cast<size_t>(beforeWrap * kBytesPerFrame));
        std::memcpy(to + beforeWrap * kRingChannels, ring.get(),
                    static_cast<size_t>((frames - beforeWrap) * kBytesPerFrame));
        return;
    }
    for (int64_t frame = 0; frame < frames; ++frame, to += channels) {
        const float* const from = ring.get() + (index + frame) % capacityFrames * kRingChannels;
        to[0] = from[0];
        to[1] = from[1];
        std::fill(to + 2, to + channels, 0.0f);
    }
}

} // namespace vintra

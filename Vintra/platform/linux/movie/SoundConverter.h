#pragma once

#include "Vintra/platform/CMSampleBuffer.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct SwrContext;

namespace vintra {

/// The time right after the last frame of a sound sample, from its number of frames and its rate.
CMTime endOfSound(const CMSampleBuffer& sample);
/// How many frames of a sound sample lie before a time, to the nearest frame; 0 to all of them.
int64_t soundFramesBefore(const CMSampleBuffer& sample, CMTime time);

/// Brings sound samples to interleaved floats at one rate and channel count; resamples and mixes only where
/// the sample differs. Owned and called by a writer's thread, but for `canConvert`: any thread.
class SoundConverter {
public:
    /// Whether the sample is linear PCM that can be read here: native-endian 32-bit float or 16-bit integer,
    /// interleaved, and with all its bytes.
    static bool canConvert(const CMSampleBuffer& sample);

    SoundConverter(double rate, uint32_t channels);
    ~SoundConverter();

    /// The sample's frames but for the first `skippedFrames`. Valid until the next call. May give fewer
    /// frames than came in: a resampler holds some back.
    std::span<const float> convert(const CMSampleBuffer& sample, int64_t skippedFrames);
    /// Frames, at the rate of this converter, that the resampler holds back.
    int64_t heldFrames() const;
    /// Those frames.
    std::span<const float> drain();

private:
    struct FreeResampler {
        void operator()(SwrContext* context) const;
    };
    void readFrames(const CMSampleBuffer& sample, int64_t skippedFrames);
    void matchSource(const AudioStreamBasicDescription& description);
    std::span<const float> resample(const float* frames, int64_t count);

    const int rate;
    const uint32_t channels;
    double sourceRate = 0;
    uint32_t sourceChannels = 0;
    std::unique_ptr<SwrContext, FreeResampler> resampler; ///< null where the source needs none
    std::vector<uint8_t> bytes;                           ///< of a sample in several pieces
    std::vector<float> source;
    std::vector<float> result;
    std::vector<float> leftover; ///< drained from the resampler of a former source
};

} // namespace vintra

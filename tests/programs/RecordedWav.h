#pragma once

#include "Vintra/platform/URL.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vintra {

/// The samples of a finished 24-bit WAV.
class RecordedWav {
public:
    explicit RecordedWav(const URL& url, size_t channels);

    /// 0 if the file can't be read.
    int64_t frames() const { return static_cast<int64_t>(samples.size() / channels); }
    double sampleRate() const { return rate; }
    /// Of full scale 2^23.
    int32_t at(int64_t frame, size_t channel) const {
        return samples[static_cast<size_t>(frame) * channels + channel];
    }

private:
    const size_t channels;
    double rate = 0;
    std::vector<int32_t> samples;
};

/// Seconds from a one-channel 24-bit WAV's beginning to its first sample at or above the threshold, of full scale.
std::optional<double> firstSound(const URL& url, double threshold);

} // namespace vintra

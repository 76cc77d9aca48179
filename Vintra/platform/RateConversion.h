#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vintra {

/// Stretches one run of sound by a ratio close to 1, at the best quality the machine has. One thread.
class RateConverter {
public:
    virtual ~RateConverter() = default;
    /// Takes interleaved frames and adds what is ready to `out`: the first frame that comes out belongs to the
    /// first that went in. Throws `SystemError`.
    virtual void convert(std::span<const float> frames, std::vector<float>& out) = 0;
    /// Adds what was held back. All that came out is then as many frames as went in, times the ratio, to one
    /// frame.
    virtual void finish(std::vector<float>& out) = 0;
};

/// Makes converters. Any thread.
class RateConversion {
public:
    virtual ~RateConversion() = default;
    /// `stretch` is frames that come out for each that goes in, from 0.5 to 2. Throws `SystemError`.
    virtual std::unique_ptr<RateConverter> makeConverter(uint32_t channels, double stretch) = 0;
};

} // namespace vintra

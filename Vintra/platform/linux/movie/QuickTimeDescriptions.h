#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vintra {

/// The entries of a track's sample description: what its samples are and how a decoder is set up for them.

/// H.264 pictures ("avc1" with the body of "avcC"), tagged Rec. 709.
std::vector<uint8_t> h264SampleDescription(int32_t width, int32_t height, std::span<const uint8_t> avcC);
/// HEVC pictures ("hvc1" with the body of "hvcC"), tagged Rec. 709.
std::vector<uint8_t> hevcSampleDescription(int32_t width, int32_t height, std::span<const uint8_t> hvcC);
/// AAC sound, from the encoder's AudioSpecificConfig. Bit rate in bits a second.
std::vector<uint8_t> aacSampleDescription(int32_t sampleRate, uint32_t channels, int64_t bitRate,
                                          std::span<const uint8_t> audioSpecificConfig);

} // namespace vintra

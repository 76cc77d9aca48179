#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vintra {

/// The NAL units of an H.264 or HEVC byte stream, without their start codes. They point into the stream.
std::vector<std::span<const uint8_t>> splitNalUnits(std::span<const uint8_t> stream);

/// The stream with each unit behind its length in four bytes, as movie files hold it.
std::vector<uint8_t> lengthPrefixedNalUnits(std::span<const uint8_t> stream);

/// Adds a unit behind its length.
void appendLengthPrefixedNalUnit(std::vector<uint8_t>& to, std::span<const uint8_t> unit);
/// The units of a stream that holds each behind its length in four bytes. They point into the stream; the last
/// one is cut where the stream ends.
std::vector<std::span<const uint8_t>> splitLengthPrefixedNalUnits(std::span<const uint8_t> stream);

/// A unit's content without the bytes that keep it from looking like a start code, and with them.
std::vector<uint8_t> unescapedNalUnit(std::span<const uint8_t> unit);
std::vector<uint8_t> escapedNalUnit(std::span<const uint8_t> unit);

/// The body of an "avcC" atom, from a stream with one sequence and one picture parameter set; empty if one is
/// missing. A second picture parameter set may be given by itself.
std::vector<uint8_t> h264DecoderConfiguration(std::span<const uint8_t> parameterSets,
                                              std::span<const uint8_t> secondPictureParameterSet = {});

/// The body of an "hvcC" atom for 8-bit 4:2:0 pictures, from a stream of video, sequence and picture
/// parameter sets; empty if one is missing. A second picture parameter set may be given by itself.
std::vector<uint8_t> hevcDecoderConfiguration(std::span<const uint8_t> parameterSets,
                                              std::span<const uint8_t> secondPictureParameterSet = {});

} // namespace vintra

#include "Vintra/platform/linux/movie/NalUnits.h"

#include "Vintra/platform/linux/movie/AtomWriter.h"

#include <algorithm>
#include <array>

namespace vintra {
namespace {

/// Where the next "00 00 01" begins, from a place on; the stream's size if there is none.
size_t nextStartCode(std::span<const uint8_t> stream, size_t from) {
    for (size_t i = from; i + 2 < stream.size();) {
        if (stream[i + 2] > 1) {
            i += 3;
        } else if (stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 1) {
            return i;
        } else {
            ++i;
        }
    }
    return stream.size();
}

void appendWithLength(AtomWriter& out, std::span<const uint8_t> unit) {
    out.u16(unit.size());
    out.append(unit);
}

constexpr size_t kLengthBytes = 4;
constexpr uint8_t kH264SequenceParameterSet = 7;
constexpr uint8_t kH264PictureParameterSet = 8;
constexpr uint8_t kHevcVideoParameterSet = 32;
constexpr uint8_t kHevcSequenceParameterSet = 33;
constexpr uint8_t kHevcPictureParameterSet = 34;

} // namespace

std::vector<std::span<const uint8_t>> splitNalUnits(std::span<const uint8_t> stream) {
    std::vector<std::span<const uint8_t>> units;
    size_t code = nextStartCode(stream, 0);
    while (code < stream.size()) {
        const size_t start = code + 3;
        const size_t next = nextStartCode(stream, start);
        size_t end = next;
        while (end > start && stream[end - 1] == 0)
            --end; // zeros before a start code belong to it; a unit never ends in one
        if (end > start) units.push_back(stream.subspan(start, end - start));
        code = next;
    }
    return units;
}

std::vector<uint8_t> lengthPrefixedNalUnits(std::span<const uint8_t> stream) {
    std::vector<uint8_t> bytes;
    bytes.reserve(stream.size() + 16);
    for (const auto unit : splitNalUnits(stream))
        appendLengthPrefixedNalUnit(bytes, unit);
    return bytes;
}

void appendLengthPrefixedNalUnit(std::vector<uint8_t>& to, std::span<const uint8_t> unit) {
    for (int shift = 24; shift >= 0; shift -= 8)
        to.push_back(static_cast<uint8_t>(unit.size() >> shift));
    to.insert(to.end(), unit.begin(), unit.end());
}

std::vector<std::span<const uint8_t>> splitLengthPrefixedNalUnits(std::span<const uint8_t> stream) {
    std::vector<std::span<const uint8_t>> units;
    while (stream.size() > kLengthBytes) {
        size_t size = 0;
        for (size_t i = 0; i < kLengthBytes; ++i)
            size = size << 8 | stream[i];
        size = std::min(size, stream.size() - kLengthBytes);
        units.push_back(stream.subspan(kLengthBytes, size));
        stream = stream.subspan(kLengthBytes + size);
    }
    return units;
}

std::vector<uint8_t> unescapedNalUnit(std::span<const uint8_t> unit) {
    std::vector<uint8_t> bytes;
    bytes.reserve(unit.size());
    size_t zeros = 0;
    for (const uint8_t byte : unit) {
        const bool escape = byte == 3 && zeros >= 2;
        if (!escape) bytes.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    return bytes;
}

std::vector<uint8_t> escapedNalUnit(std::span<const uint8_t> unit) {
    std::vector<uint8_t> bytes;
    bytes.reserve(unit.size() + unit.size() / 64 + 8);
    size_t zeros = 0;
    for (const uint8_t byte : unit) {
        if (zeros >= 2 && byte <= 3) {
            bytes.push_back(3);
            zeros = 0;
        }
        bytes.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    return bytes;
}

std::vector<uint8_t> h264DecoderConfiguration(std::span<const uint8_t> parameterSets,
                                              std::span<const uint8_t> secondPictureParameterSet) {
    std::span<const uint8_t> sequence;
    std::span<const uint8_t> picture;
    for (const auto unit : splitNalUnits(parameterSets)) {
        const uint8_t type = unit[0] & 0x1F;
        if (type == kH264SequenceParameterSet) sequence = unit;
        if (type == kH264PictureParameterSet) picture = unit;
    }
    if (sequence.size() < 4 || picture.empty()) return {};
    AtomWriter out;
    out.u8(1); // version
    out.append(sequence.subspan(1, 3));
    out.u8(0xFF); // lengths of four bytes
    out.u8(0xE1); // one sequence parameter set
    appendWithLength(out, sequence);
    out.u8(secondPictureParameterSet.empty() ? 1 : 2);
    appendWithLength(out, picture);
    if (!secondPictureParameterSet.empty()) appendWithLength(out, secondPictureParameterSet);
    if (sequence[1] >= 100) { // High and above say how the samples are laid out
        out.u8(0xFC | 1);     // 4:2:0
        out.u8(0xF8);         // 8 bits of luma
        out.u8(0xF8);         // 8 bits of chroma
        out.u8(0);            // no extensions
    }
    return out.bytes();
}

std::vector<uint8_t> hevcDecoderConfiguration(std::span<const uint8_t> parameterSets,
                                              std::span<const uint8_t> secondPictureParameterSet) {
    constexpr std::array types = {kHevcVideoParameterSet, kHevcSequenceParameterSet,
                                  kHevcPictureParameterSet};
    std::array<std::span<const uint8_t>, types.size()> units;
    for (const auto unit : splitNalUnits(parameterSets)) {
        const auto found = std::find(types.begin(), types.end(), unit[0] >> 1 & 0x3F);
        if (found != types.end()) units[static_cast<size_t>(found - types.begin())] = unit;
    }
    if (units[0].empty() || units[2].empty()) return {};
    const std::vector<uint8_t> sequence = unescapedNalUnit(units[1]);
    constexpr size_t profileStart = 3; // after the unit's header and a byte about layers
    constexpr size_t profileSize = 12;
    if (sequence.size() < profileStart + profileSize) return {};
    AtomWriter out;
    out.u8(1); // version
    out.append(std::span(sequence).subspan(profileStart, profileSize));
    out.u16(0xF000);    // no minimum of spatial segments
    out.u8(0xFC);       // kind of parallelism not given
    out.u8(0xFC | 1);   // 4:2:0
    out.u8(0xF8);       // 8 bits of luma
    out.u8(0xF8);       // 8 bits of chroma
    out.u16(0);         // average frame rate not given
    out.u8(0b00001111); // one temporal layer, nested; lengths of four bytes
    out.u8(types.size());
    for (size_t i = 0; i < types.size(); ++i) {
        out.u8(0x80 | types[i]); // all of the kind are here
        const bool hasSecond = types[i] == kHevcPictureParameterSet && !secondPictureParameterSet.empty();
        out.u16(hasSecond ? 2 : 1);
        appendWithLength(out, units[i]);
        if (hasSecond) appendWithLength(out, secondPictureParameterSet);
    }
    return out.bytes();
}

} // namespace vintra

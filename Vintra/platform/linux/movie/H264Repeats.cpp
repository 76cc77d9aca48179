#include "Vintra/platform/linux/movie/H264Repeats.h"

#include "Vintra/platform/linux/movie/BitReader.h"
#include "Vintra/platform/linux/movie/BitWriter.h"
#include "Vintra/platform/linux/movie/NalUnits.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr uint8_t kTypeMask = 0x1F;
constexpr uint8_t kReferenceMask = 0x60;
constexpr uint8_t kSlice = 1;
constexpr uint8_t kKeySlice = 5;
constexpr uint8_t kSequenceParameterSet = 7;
constexpr uint8_t kPictureParameterSet = 8;
constexpr uint8_t kReference = 0x40; // as important as the encoder's own
constexpr uint32_t kOwnParameterSet = 1;

std::vector<uint8_t> unitOf(uint8_t header, const BitWriter& content) {
    std::vector<uint8_t> unit{header};
    unit.insert(unit.end(), content.bytes().begin(), content.bytes().end());
    return escapedNalUnit(unit);
}

bool isHighProfile(uint32_t profile) {
    return profile == 100 || profile == 110 || profile == 122 || profile == 244;
}

} // namespace

std::unique_ptr<H264Repeats> H264Repeats::make(std::span<const uint8_t> parameterSets) {
    for (const auto escaped : splitNalUnits(parameterSets)) {
        if ((escaped[0] & kTypeMask) != kSequenceParameterSet) continue;
        const std::vector<uint8_t> unit = unescapedNalUnit(escaped);
        BitReader in(std::span<const uint8_t>{unit}.subspan(1));
        const uint32_t profile = in.bits(8);
        in.bits(16); // constraints, level
        in.golomb(); // id
        if (isHighProfile(profile)) {
            const bool is420 = in.golomb() == 1;
            in.golomb(); // depths
            in.golomb();
            in.bits(1);
            const bool hasScalingMatrix = in.bits(1) != 0;
            if (!is420 || hasScalingMatrix) return nullptr;
        }
        const int numberBits = static_cast<int>(in.golomb()) + 4;
        const bool orderOfDecoding = in.golomb() == 2;
        if (!orderOfDecoding) return nullptr;
        const bool oneReference = in.golomb() == 1;
        in.bits(1); // gaps
        const uint32_t width = in.golomb() + 1;
        const uint32_t height = in.golomb() + 1;
        const bool wholeFrames = in.bits(1) != 0;
        if (!oneReference || !wholeFrames || numberBits > 16) return nullptr;
        return std::unique_ptr<H264Repeats>(new H264Repeats(numberBits, width * height));
    }
    return nullptr;
}

std::vector<uint8_t> H264Repeats::additionalParameterSet() const {
    BitWriter out;
    out.golomb(kOwnParameterSet);
    out.golomb(0);  // its sequence parameter set
    out.bits(0, 1); // variable-length codes
    out.bits(0, 1); // no order of pictures in slices
    out.golomb(0);  // one slice group
    out.golomb(0);  // one reference in either list
    out.golomb(0);
    out.bits(0, 3); // no weights
    out.golomb(0);  // quantisers and their offset for chroma: the usual ones
    out.golomb(0);
    out.golomb(0);
    out.bits(1, 1); // slices say how they are filtered
    out.bits(0, 2); // intra prediction from anywhere, no redundant pictures
    out.endUnit();
    return unitOf(kReference | kPictureParameterSet, out);
}

std::vector<uint8_t> H264Repeats::repeat() {
    BitWriter out;
    out.golomb(0); // from the first block on
    out.golomb(5); // all slices are predicted
    out.golomb(kOwnParameterSet);
    out.bits(next, numberBits);
    out.bits(0, 3);     // the usual references, and this picture becomes one
    out.golomb(0);      // quantiser
    out.golomb(1);      // no filter between blocks
    out.golomb(blocks); // all blocks are skipped
    out.endUnit();
    ++inserted;
    next = (next + 1) & ((1u << numberBits) - 1);
    std::vector<uint8_t> result;
    appendLengthPrefixedNalUnit(result, unitOf(kReference | kSlice, out));
    return result;
}

std::vector<uint8_t> H264Repeats::renumbered(std::span<const uint8_t> picture) {
    std::vector<uint8_t> result;
    result.reserve(picture.size() + 16);
    for (const auto unit : splitLengthPrefixedNalUnits(picture)) {
        const uint8_t type = unit.empty() ? 0 : unit[0] & kTypeMask;
        if (type == kSlice || type == kKeySlice) {
            std::vector<uint8_t> changed = unescapedNalUnit(unit);
            renumberSlice(changed);
            appendLengthPrefixedNalUnit(result, escapedNalUnit(changed));
        } else {
            appendLengthPrefixedNalUnit(result, unit);
        }
    }
    return result;
}

void H264Repeats::renumberSlice(std::vector<uint8_t>& unit) {
    const uint32_t mask = (1u << numberBits) - 1;
    if ((unit[0] & kTypeMask) == kKeySlice) inserted = 0;
    BitReader in(std::span<const uint8_t>{unit}.subspan(1));
    in.golomb(); // first block
    in.golomb(); // kind of slice
    in.golomb(); // parameter set
    const size_t at = 8 + in.position();
    const uint32_t number = (in.bits(numberBits) + inserted) & mask;
    for (int i = 0; i < numberBits; ++i) {
        const size_t bit = at + static_cast<size_t>(i);
        if (bit / 8 >= unit.size()) return;
        const auto one = static_cast<uint8_t>(0x80 >> bit % 8);
        const bool set = (number >> (numberBits - 1 - i) & 1u) != 0;
        unit[bit / 8] = static_cast<uint8_t>(set ? unit[bit / 8] | one : unit[bit / 8] & ~one);
    }
    next = (unit[0] & kReferenceMask) != 0 ? (number + 1) & mask : number;
}

} // namespace vintra

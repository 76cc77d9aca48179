#include "Vintra/platform/linux/movie/HevcRepeats.h"

#include "Vintra/platform/linux/movie/BitReader.h"
#include "Vintra/platform/linux/movie/BitWriter.h"
#include "Vintra/platform/linux/movie/CabacEncoder.h"
#include "Vintra/platform/linux/movie/NalUnits.h"

#include <algorithm>
#include <cstddef>

namespace vintra {
namespace {

constexpr uint8_t kTrailingPicture = 1; // and a reference
constexpr uint8_t kFirstKeyPicture = 16;
constexpr uint8_t kFirstClearingPicture = 19; // no picture before it is referred to any more
constexpr uint8_t kLastClearingPicture = 20;
constexpr uint8_t kLastKeyPicture = 23;
constexpr uint8_t kHevcSequenceSet = 33;
constexpr uint8_t kHevcPictureSet = 34;
constexpr uint8_t kLastPictureType = 31;
constexpr uint32_t kOwnPictureSet = 1;
constexpr int kQuantiser = 26;

uint8_t typeOf(std::span<const uint8_t> unit) {
    return unit[0] >> 1 & 0x3F;
}

std::vector<uint8_t> hevcUnitOf(uint8_t type, const BitWriter& content) {
    std::vector<uint8_t> unit{static_cast<uint8_t>(type << 1), 1}; // of the one layer
    unit.insert(unit.end(), content.bytes().begin(), content.bytes().end());
    return escapedNalUnit(unit);
}

/// The blocks of a picture in their order, each as large as fits, all skipped.
class SkippedBlocks {
public:
    struct Shape {
        uint32_t width;
        uint32_t height;
        int smallest;
        int largest;
    };
    SkippedBlocks(BitWriter& out, Shape shape)
        : shape(shape)
        , coder(out)
        , columns((shape.width >> shape.smallest) + 1)
        , depths(columns * ((shape.height >> shape.smallest) + 1), 0) {}

    void encode() {
        const uint32_t side = 1u << shape.largest;
        for (uint32_t y = 0; y < shape.height; y += side) {
            for (uint32_t x = 0; x < shape.width; x += side) {
                encode(x, y, shape.largest, 0);
                coder.encodeEnd(y + side >= shape.height && x + side >= shape.width);
            }
        }
    }

private:
    void encode(uint32_t x, uint32_t y, int size, uint8_t depth) {
        const uint32_t side = 1u << size;
        const bool fits = x + side <= shape.width && y + side <= shape.height;
        if (size > shape.smallest && !fits) {
            for (const uint32_t dy : {0u, side / 2})
                for (const uint32_t dx : {0u, side / 2})
                    if (x + dx < shape.width && y + dy < shape.height)
                        encode(x + dx, y + dy, size - 1, static_cast<uint8_t>(depth + 1));
            return;
        }
        const size_t deeper = static_cast<size_t>(x > 0 && depthAt(x - 1, y) > depth) +
                              static_cast<size_t>(y > 0 && depthAt(x, y - 1) > depth);
        if (size > shape.smallest) coder.encode(isDivided[deeper], false);
        coder.encode(isSkipped[static_cast<size_t>(x > 0) + static_cast<size_t>(y > 0)], true);
        for (uint32_t row = y >> shape.smallest; row < (y + side) >> shape.smallest; ++row)
            for (uint32_t column = x >> shape.smallest; column < (x + side) >> shape.smallest; ++column)
                depths[row * columns + column] = depth;
    }
    uint8_t depthAt(uint32_t x, uint32_t y) const {
        return depths[(y >> shape.smallest) * columns + (x >> shape.smallest)];
    }

    using Context = CabacEncoder::Context;
    const Shape shape;
    CabacEncoder coder;
    const size_t columns; ///< of the smallest blocks
    std::vector<uint8_t> depths;
    Context isDivided[3] = {{107, kQuantiser}, {139, kQuantiser}, {126, kQuantiser}};
    Context isSkipped[3] = {{197, kQuantiser}, {185, kQuantiser}, {201, kQuantiser}};
};

} // namespace

std::unique_ptr<HevcRepeats> HevcRepeats::make(std::span<const uint8_t> parameterSets) {
    for (const auto escaped : splitNalUnits(parameterSets)) {
        if (escaped.size() < 3 || typeOf(escaped) != kHevcSequenceSet) continue;
        Sequence sequence;
        if (!read(unescapedNalUnit(escaped), sequence)) return nullptr;
        return std::unique_ptr<HevcRepeats>(new HevcRepeats(sequence));
    }
    return nullptr;
}

bool HevcRepeats::read(std::span<const uint8_t> unit, Sequence& sequence) {
    BitReader in(unit.subspan(2));
    in.bits(4); // video parameter set
    const bool oneLayer = in.bits(3) == 0;
    in.bits(1);
    for (int i = 0; i < 12; ++i)
        in.bits(8); // profile and level
    in.golomb();    // id
    const bool is420 = in.golomb() == 1;
    sequence.width = in.golomb();
    sequence.height = in.golomb();
    if (in.bits(1) != 0) // the part that is shown
        for (int i = 0; i < 4; ++i)
            in.golomb();
    in.golomb(); // depths
    in.golomb();
    sequence.numberBits = static_cast<int>(in.golomb()) + 4;
    in.bits(1);
    for (int i = 0; i < 3; ++i)
        in.golomb(); // buffers
    sequence.smallestBlock = static_cast<int>(in.golomb()) + 3;
    sequence.largestBlock = sequence.smallestBlock + static_cast<int>(in.golomb());
    for (int i = 0; i < 4; ++i)
        in.golomb(); // transforms
    const bool hasScalingLists = in.bits(1) != 0;
    in.bits(1); // uneven partitions
    sequence.hasSampleOffset = in.bits(1) != 0;
    const bool hasRawBlocks = in.bits(1) != 0;
    if (!oneLayer || !is420 || hasScalingLists || hasRawBlocks) return false;
    const bool hasReferenceSets = in.golomb() != 0;
    const bool hasLongReferences = in.bits(1) != 0;
    const bool refersToMotion = in.bits(1) != 0;
    const uint32_t side = 1u << sequence.smallestBlock;
    return !hasReferenceSets && !hasLongReferences && !refersToMotion && sequence.numberBits <= 16 &&
           sequence.largestBlock <= 6 && sequence.width > 0 && sequence.width % side == 0 &&
           sequence.height > 0 && sequence.height % side == 0;
}

std::vector<uint8_t> HevcRepeats::additionalParameterSet() const {
    BitWriter out;
    out.golomb(kOwnPictureSet);
    out.golomb(0);  // its sequence parameter set
    out.bits(0, 2); // slices depend on nothing, and all are shown
    out.bits(0, 3);
    out.bits(0, 2);
    out.golomb(0); // one reference in either list
    out.golomb(0);
    out.golomb(0); // quantiser 26
    out.bits(0, 3);
    out.golomb(0); // and for chroma
    out.golomb(0);
    out.bits(0, 6); // no weights, no tiles, rows one after another
    out.bits(0, 1);
    out.bits(1, 1); // how blocks are filtered: not at all
    out.bits(0, 1);
    out.bits(1, 1);
    out.bits(0, 2);
    out.golomb(0); // merging as usual
    out.bits(0, 2);
    out.endUnit();
    return hevcUnitOf(kHevcPictureSet, out);
}

std::vector<uint8_t> HevcRepeats::repeat() {
    BitWriter out;
    out.bits(1, 1); // from the first block on
    out.golomb(kOwnPictureSet);
    out.golomb(1); // predicted
    out.bits(next, sequence.numberBits);
    out.bits(0, 1); // its references are told here: the picture before, and none after
    out.golomb(1);
    out.golomb(0);
    out.golomb(0);
    out.bits(1, 1);
    if (sequence.hasSampleOffset) out.bits(0, 2);
    out.bits(0, 1);
    out.golomb(4); // a block is merged in one way alone
    out.golomb(0); // quantiser
    out.endUnit();
    out.alignToByte();
    if (blocks.empty()) {
        BitWriter coded;
        SkippedBlocks(coded, {sequence.width, sequence.height, sequence.smallestBlock, sequence.largestBlock})
            .encode();
        blocks = coded.bytes();
    }
    out.append(blocks);
    ++inserted;
    next = (next + 1) & ((1u << sequence.numberBits) - 1);
    std::vector<uint8_t> result;
    appendLengthPrefixedNalUnit(result, hevcUnitOf(kTrailingPicture, out));
    return result;
}

std::vector<uint8_t> HevcRepeats::renumbered(std::span<const uint8_t> picture) {
    std::vector<uint8_t> result;
    result.reserve(picture.size() + 16);
    for (const auto unit : splitLengthPrefixedNalUnits(picture)) {
        if (unit.size() > 2 && typeOf(unit) <= kLastPictureType) {
            std::vector<uint8_t> changed = unescapedNalUnit(unit);
            renumberSlice(changed);
            appendLengthPrefixedNalUnit(result, escapedNalUnit(changed));
        } else {
            appendLengthPrefixedNalUnit(result, unit);
        }
    }
    return result;
}

void HevcRepeats::renumberSlice(std::vector<uint8_t>& unit) {
    const uint8_t type = typeOf(unit);
    if (type >= kFirstClearingPicture && type <= kLastClearingPicture) {
        inserted = 0; // has the number 0, which isn't written
        next = 1;
        return;
    }
    BitReader in(std::span<const uint8_t>{unit}.subspan(2));
    in.bits(1); // from the first block on: pictures are of one slice
    if (type >= kFirstKeyPicture && type <= kLastKeyPicture) in.bits(1);
    in.golomb(); // parameter set
    in.golomb(); // kind of slice
    const size_t at = 16 + in.position();
    const uint32_t mask = (1u << sequence.numberBits) - 1;
    const uint32_t number = (in.bits(sequence.numberBits) + inserted) & mask;
    for (int i = 0; i < sequence.numberBits; ++i) {
        const size_t bit = at + static_cast<size_t>(i);
        if (bit / 8 >= unit.size()) return;
        const auto one = static_cast<uint8_t>(0x80 >> bit % 8);
        const bool set = (number >> (sequence.numberBits - 1 - i) & 1u) != 0;
        unit[bit / 8] = static_cast<uint8_t>(set ? unit[bit / 8] | one : unit[bit / 8] & ~one);
    }
    next = (number + 1) & mask;
}

} // namespace vintra

#include "Vintra/audio/ContainsNonZeroSample.h"

#include <cstdint>
#include <cstring>

namespace vintra {
namespace {

/// Bytes looked at between two tests. Within a block the words are only combined, which the compiler turns
/// into vector instructions; a block is short enough that the first signal ends the scan early.
constexpr size_t kBlockLength = 256;

bool blockIsZero(const uint8_t* bytes) {
    uint64_t seen = 0;
    for (size_t offset = 0; offset < kBlockLength; offset += sizeof(uint64_t)) {
        uint64_t word;
        std::memcpy(&word, bytes + offset, sizeof word);
        seen |= word;
    }
    return seen == 0;
}

} // namespace

bool containsNonZeroSample(const CMSampleBuffer& buffer) {
    const auto data = buffer.dataBuffer();
    if (!data) return false;
    const auto pointer = data->dataPointer(0);
    if (pointer.bytes == nullptr || pointer.lengthAtOffset != pointer.totalLength) return false;
    size_t offset = 0;
    for (; offset + kBlockLength <= pointer.totalLength; offset += kBlockLength) {
        if (!blockIsZero(pointer.bytes + offset)) return true;
    }
    for (; offset < pointer.totalLength; ++offset) {
        if (pointer.bytes[offset] != 0) return true;
    }
    return false;
}

} // namespace vintra

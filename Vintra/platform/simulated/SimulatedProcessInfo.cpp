#include "Vintra/platform/simulated/SimulatedProcessInfo.h"

namespace vintra {

namespace {
/// The output function of the SplitMix64 generator: distinct inputs give distinct outputs.
uint64_t mixed(uint64_t state) {
    state *= 0x9E3779B97F4A7C15u;
    state = (state ^ (state >> 30)) * 0xBF58476D1CE4E5B9u;
    state = (state ^ (state >> 27)) * 0x94D049BB133111EBu;
    return state ^ (state >> 31);
}
} // namespace

UUID SimulatedProcessInfo::makeUUID() {
    const uint64_t first = 2 * ++made;
    const uint64_t halves[] = {mixed(first), mixed(first + 1)};
    UUID id;
    for (size_t i = 0; i < id.bytes.size(); ++i)
        id.bytes[i] = static_cast<uint8_t>(halves[i / 8] >> (8 * (i % 8)));
    id.bytes[6] = static_cast<uint8_t>((id.bytes[6] & 0x0F) | 0x40); // version 4, random
    id.bytes[8] = static_cast<uint8_t>((id.bytes[8] & 0x3F) | 0x80); // variant 1
    return id;
}

} // namespace vintra

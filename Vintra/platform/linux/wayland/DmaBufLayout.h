#pragma once

#include <cstdint>
#include <vector>

namespace vintra {

constexpr uint64_t kLinearModifier = 0;
/// The driver that made the memory knows how it lies, and doesn't say.
constexpr uint64_t kImplicitModifier = (uint64_t{1} << 56) - 1;

/// How a picture lies in memory of the graphics card: the pixel format and the modifier, by the kernel's own numbers.
struct DmaBufLayout {
    uint32_t format = 0;
    uint64_t modifier = kLinearModifier;
    bool operator==(const DmaBufLayout&) const = default;
};

/// The modifiers with which pictures of a pixel format can be read, the best first.
struct DmaBufOffer {
    uint32_t format = 0;
    std::vector<uint64_t> modifiers;
    bool operator==(const DmaBufOffer&) const = default;
};

} // namespace vintra

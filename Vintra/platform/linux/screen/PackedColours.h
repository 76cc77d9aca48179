#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vintra {

/// Where a colour lies in a pixel that is a little-endian word.
struct ColourBits {
    int shift = 0; ///< of its lowest bit
    int count = 8;
    bool operator==(const ColourBits&) const = default;
};

/// Pixels whose colours are groups of bits in a word of 2, 3 or 4 bytes.
struct PackedColours {
    int bytesPerPixel = 4;
    ColourBits red;
    ColourBits green;
    ColourBits blue;
    bool operator==(const PackedColours&) const = default;

    /// As blue, green, red and a fourth byte that means nothing.
    bool isBgrx() const;
};

/// The bits of a mask if they are 1 to 10 in a row, else nothing.
std::optional<ColourBits> colourBitsOf(uint64_t mask);

/// The colour's value with all of `count` bits set as 255, the rest in proportion, rounded to nearest. 1 to 10 bits.
constexpr uint32_t eightBitsOf(uint32_t value, int count) {
    const uint32_t most = (1u << count) - 1;
    return (value * 255 + most / 2) / most;
}

/// Writes blue, green, red and 0 for each pixel, each colour rounded to 8 bits. `to` may be `from` where the pixels have
/// four bytes; else they don't overlap.
void convertToBgrx(uint8_t* to, const uint8_t* from, size_t count, const PackedColours& colours);
/// The same a pixel at a time; what the other is measured by.
void convertToBgrxPortable(uint8_t* to, const uint8_t* from, size_t count, const PackedColours& colours);

} // namespace vintra

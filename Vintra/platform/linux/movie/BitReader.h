#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vintra {

/// Reads the numbers of a video stream's headers bit by bit, the first bit highest. Past the end it gives
/// zeros. A value of one thread.
class BitReader {
public:
    explicit BitReader(std::span<const uint8_t> bytes)
        : bytes(bytes) {}

    uint32_t bits(int count) {
        uint32_t value = 0;
        for (int i = 0; i < count; ++i, ++at)
            value = value << 1 | (at / 8 < bytes.size() ? bytes[at / 8] >> (7 - at % 8) & 1u : 0u);
        return value;
    }
    /// An exponential Golomb number.
    uint32_t golomb() {
        int zeros = 0;
        while (zeros < 31 && bits(1) == 0)
            ++zeros;
        return (1u << zeros) - 1 + bits(zeros);
    }
    size_t position() const { return at; } ///< in bits

private:
    std::span<const uint8_t> bytes;
    size_t at = 0;
};

} // namespace vintra

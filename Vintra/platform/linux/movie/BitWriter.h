#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vintra {

/// The counterpart of `BitReader`.
class BitWriter {
public:
    void bits(uint32_t value, int count) {
        for (int i = count - 1; i >= 0; --i, ++at) {
            if (at % 8 == 0) bytes_.push_back(0);
            bytes_.back() = static_cast<uint8_t>(bytes_.back() | (value >> i & 1u) << (7 - at % 8));
        }
    }
    void golomb(uint32_t value) {
        const int length = std::bit_width(value + 1);
        bits(0, length - 1);
        bits(value + 1, length);
    }
    /// The one bit that ends a header or a slice, and zeros to the byte's end.
    void endUnit() { bits(1, 1); }
    /// Zeros up to the end of the byte; none at one.
    void alignToByte() { at = bytes_.size() * 8; }
    /// Whole bytes, at the end of one.
    void append(const std::vector<uint8_t>& more) {
        bytes_.insert(bytes_.end(), more.begin(), more.end());
        alignToByte();
    }
    const std::vector<uint8_t>& bytes() const { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
    size_t at = 0;
};

} // namespace vintra

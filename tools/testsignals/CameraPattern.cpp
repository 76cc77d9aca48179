#include "tools/testsignals/CameraPattern.h"

namespace vintra {
namespace {

constexpr size_t kWords = CameraPattern::kBlockRows;
using Words = std::array<uint16_t, kWords>;

uint16_t sumOf(const Words& words) {
    uint32_t sum = 0x5A5A; // so that neither black nor white is a pattern
    for (size_t i = 0; i + 1 < kWords; ++i)
        sum = sum * 31 + words[i];
    return static_cast<uint16_t>(sum ^ sum >> 16);
}

} // namespace

CameraPattern::Bits CameraPattern::bits() const {
    const auto time = static_cast<uint64_t>(nanoseconds);
    Words words{static_cast<uint16_t>(number >> 16),
                static_cast<uint16_t>(number),
                static_cast<uint16_t>(time >> 48),
                static_cast<uint16_t>(time >> 32),
                static_cast<uint16_t>(time >> 16),
                static_cast<uint16_t>(time),
                0};
    words[kWords - 1] = sumOf(words);
    Bits bits{};
    for (size_t row = 0; row < kBlockRows; ++row) {
        for (size_t column = 0; column < kColumns; ++column)
            bits[row][column] = (words[row] >> (kColumns - 1 - column) & 1) != 0;
    }
    return bits;
}

std::optional<CameraPattern> CameraPattern::of(const Bits& bits) {
    Words words{};
    for (size_t row = 0; row < kBlockRows; ++row) {
        for (const bool bit : bits[row])
            words[row] = static_cast<uint16_t>(words[row] << 1 | (bit ? 1 : 0));
    }
    if (words[kWords - 1] != sumOf(words)) return std::nullopt;
    uint64_t time = 0;
    for (size_t i = 2; i < 6; ++i)
        time = time << 16 | words[i];
    return CameraPattern{.number = static_cast<uint32_t>(words[0]) << 16 | words[1],
                         .nanoseconds = static_cast<int64_t>(time)};
}

std::optional<CameraPattern> CameraPattern::read(const Luma& luma) {
    if (luma.width < kColumns || luma.height < kRows) return std::nullopt;
    Bits bits{};
    for (size_t row = 0; row < kBlockRows; ++row) {
        for (size_t column = 0; column < kColumns; ++column) {
            const size_t x = (2 * column + 1) * luma.width / (2 * kColumns);
            const size_t y = (2 * row + 1) * luma.height / (2 * kRows);
            bits[row][column] = luma.pixels[y * luma.row + x] > 125;
        }
    }
    return of(bits);
}

} // namespace vintra

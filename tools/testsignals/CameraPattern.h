#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace vintra {

/// What each picture of a published camera shows, so that it can be read back out of a movie: the number of the
/// picture and the host time of its capture as black and white blocks, with a sum over both, and below them eight
/// patches of known colours.
///
///     rows 0 to 1    the number, 16 bits a row, the highest first
///     rows 2 to 5    the time in nanoseconds
///     row 6          the sum
///     rows 8 to 15   the colours, two columns each
struct CameraPattern {
    static constexpr size_t kColumns = 16;
    static constexpr size_t kRows = 16;
    static constexpr size_t kBlockRows = 7;
    static constexpr size_t kFirstColourRow = 8;

    uint32_t number = 0;
    int64_t nanoseconds = 0;
    bool operator==(const CameraPattern&) const = default;

    using Bits = std::array<std::array<bool, kColumns>, kBlockRows>;
    Bits bits() const;
    /// Nothing if the sum isn't theirs.
    static std::optional<CameraPattern> of(const Bits& bits);

    /// A picture's luma, 8 bits a pixel.
    struct Luma {
        const uint8_t* pixels = nullptr;
        size_t width = 0;
        size_t height = 0;
        size_t row = 0; ///< bytes
    };
    /// Reads the middle of each block; nothing if the picture shows no pattern.
    static std::optional<CameraPattern> read(const Luma& luma);
};

struct PatternColour {
    uint8_t red;
    uint8_t green;
    uint8_t blue;
};

/// The patches from left to right.
inline constexpr std::array<PatternColour, 8> kPatternColours = {{{191, 191, 191},
                                                                  {191, 191, 40},
                                                                  {40, 191, 191},
                                                                  {40, 191, 40},
                                                                  {191, 40, 191},
                                                                  {191, 40, 40},
                                                                  {40, 40, 191},
                                                                  {40, 40, 40}}};

} // namespace vintra

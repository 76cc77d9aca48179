#pragma once

#include <cstdint>

namespace vintra {

/// What the slots of a picture track hold, from that of its first picture, or of its first loss if that came
/// before, to the last one that begins before the stop. Every slot counts once. A value.
struct FrameAccount {
    int64_t first = 0; ///< number of the first slot; those before it had nothing to show

    int64_t own = 0;       ///< show a picture that was captured for them
    int64_t copied = 0;    ///< show the picture before once more, by the rule that fills short gaps
    int64_t unchanged = 0; ///< were left empty, since nothing new had come: the picture before stands
    int64_t lost = 0;      ///< had something new to show, which was left out on its way to the file

    int64_t slots() const { return own + copied + unchanged + lost; }
    bool operator==(const FrameAccount&) const = default;
};

} // namespace vintra

#pragma once

#include "tests/programs/RecordedWav.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// What came of the frames that were played. A player that misses a cycle of a busy machine leaves a silence
/// and goes on where it was; what a recorder or a relay misses is lost.
struct NumberedSoundAccount {
    int64_t played = 0;   ///< frames that are there, in their order
    int64_t lost = 0;     ///< frames that are not
    int64_t repeated = 0; ///< frames that are there twice
    int64_t silent = 0;   ///< frames of silence in the middle
    int64_t altered = 0;  ///< frames whose level is none that was played

    std::string text() const;
};

/// Of the second track of a take, 6 dB below what was played.
NumberedSoundAccount accountOf(const RecordedWav& wav);
/// Of what was heard on the monitor: two channels, interleaved.
NumberedSoundAccount accountOf(const std::vector<float>& heard);

} // namespace vintra

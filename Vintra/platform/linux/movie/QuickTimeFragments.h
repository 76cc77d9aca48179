#pragma once

#include "Vintra/platform/linux/movie/QuickTimeTrack.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace vintra {

/// The tables of a movie whose writer was killed, gathered from its fragments.
struct QuickTimeFragments {
    std::vector<QuickTimeTrack> tracks;
    uint64_t freeAtom = 0; ///< offset of the atom that becomes the one of all media data
    uint64_t mediaEnd = 0; ///< behind the last whole fragment; what follows was torn
    uint32_t samples = 0;

    /// Up to `count` bytes of the file from the offset on. Throws `SystemError`.
    using Read = std::function<std::vector<uint8_t>(uint64_t offset, uint64_t count)>;
    /// Nothing if the movie was finished, or none of its fragments is whole. Throws what `read` throws.
    static std::optional<QuickTimeFragments> find(const Read& read, uint64_t fileSize);
};

} // namespace vintra

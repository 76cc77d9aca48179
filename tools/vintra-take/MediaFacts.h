#pragma once

#include "Vintra/platform/URL.h"

#include <cstdint>
#include <optional>

namespace vintra {

/// What a finished movie or sound file says of itself.
struct MediaFacts {
    double seconds = 0;
    int64_t units = 0; ///< pictures, or samples of a channel
    double rate = 0;   ///< of a movie the average in pictures a second, of a sound file in hertz
};

/// Reads the file's first track of pictures, or of sound if it has none. Nothing if it can't be read. Any
/// thread.
std::optional<MediaFacts> mediaFacts(const URL& at);

} // namespace vintra

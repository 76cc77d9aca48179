#pragma once

#include "Vintra/platform/CMSampleBuffer.h"

namespace vintra {

/// One track of a `MovieFile`: encodes its samples into the movie. Owned by the file; used on its thread.
/// Failures are thrown as `SystemError`.
class MovieTrack {
public:
    virtual ~MovieTrack() = default;
    virtual void write(const CMSampleBuffer& sample, CMTime sessionStart) = 0;
    /// What was written last stands until `to`.
    virtual void extend(CMTime to, CMTime sessionStart) = 0;
    /// Encodes what is still held; after it the track is described even if it got no sample.
    virtual void finish() = 0;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/CMSampleBuffer.h"

namespace vintra {

/// A file format being filled: what a writer's thread drives. Owned by that thread, which alone calls it.
/// Failures are thrown as `SystemError`.
class MediaFile {
public:
    virtual ~MediaFile() = default;
    /// A sample of a track, not wholly before the session's start; a track's samples come in the order of
    /// their times.
    virtual void write(size_t track, const CMSampleBuffer& sample, CMTime sessionStart) = 0;
    /// The picture written last on a track stands until `to`.
    virtual void extend(size_t track, CMTime to, CMTime sessionStart) = 0;
    /// The file stays from here on. One that wasn't kept is removed with this object.
    virtual void keep() noexcept = 0;
    /// Writes out everything and closes the file.
    virtual void finish() = 0;
    /// Leaves on the disk as much as can be used without another sample. Never throws.
    virtual void abandon() noexcept = 0;
};

} // namespace vintra

#pragma once

#include "Vintra/audio/SoundTrackFile.h"
#include "Vintra/platform/UUID.h"

namespace vintra {

/// The track of one armed channel of an extra input device. Owned by the take; for threads see
/// `SoundTrackFile`.
struct ExtraInputTrack : SoundTrackFile {
    UUID configID;        ///< of the row it records
    int channelIndex = 0; ///< within the device

    /// Writes one buffer, on the extra inputs' queue.
    void append(const CMSampleBuffer& buffer) { appendToOwnInputs(buffer); }
};

} // namespace vintra

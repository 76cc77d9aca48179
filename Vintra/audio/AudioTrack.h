#pragma once

#include "Vintra/audio/SoundTrackFile.h"
#include "Vintra/platform/CaptureDevices.h"

#include <memory>
#include <vector>

namespace vintra {

/// The mic's track or the second one. Owned by the take; for threads see `SoundTrackFile`.
struct AudioTrack : SoundTrackFile {
    std::shared_ptr<AVCaptureAudioDataOutput> dataOutput; ///< null for computer audio
    std::shared_ptr<AVCaptureDevice> device;              ///< null for computer audio
    /// Reference copies in the camera movies; the mic's track alone has them.
    std::vector<std::shared_ptr<AVAssetWriterInput>> webcamReferenceInputs;

    /// Writes one buffer, on the queue of the track's kind. Whether an append fails is not looked at: the
    /// writer's status tells in the end.
    void append(const CMSampleBuffer& buffer);
};

} // namespace vintra

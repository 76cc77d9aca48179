#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/UUID.h"

#include <memory>
#include <optional>
#include <vector>

namespace vintra {

/// All that a capture callback must know to route a buffer, behind one lock, so that it never touches what
/// the main thread shows. Owned by the controller. Any thread.
class AudioRoutingCache {
public:
    struct MicRouting {
        std::shared_ptr<AVCaptureAudioDataOutput> output;
        int totalChannels = 1;
        int channelIndex = 0;
        double gainDB = 0;
    };
    struct ExtraConfigRouting {
        UUID id;
        int channelIndex = 0;
        double gainDB = 0;
    };
    struct ExtraRouting {
        std::shared_ptr<AVCaptureAudioDataOutput> output;
        int totalChannels = 1;
        std::vector<ExtraConfigRouting> configs;
    };
    struct Snapshot {
        std::optional<MicRouting> mic;
        std::shared_ptr<AVCaptureAudioDataOutput> dawOutput; ///< null if there is no second track
        double dawGainDB = 0;
        std::vector<ExtraRouting> extra;
    };

    /// Replaces the snapshot as a whole.
    void store(Snapshot snapshot);
    /// The latest snapshot, never null; it doesn't change while a callback works on it.
    std::shared_ptr<const Snapshot> snapshot() const;

private:
    mutable Mutex mutex;
    std::shared_ptr<const Snapshot> storage GUARDED_BY(mutex) = std::make_shared<const Snapshot>();
};

} // namespace vintra

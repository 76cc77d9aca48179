#pragma once

#include "Vintra/audio/ActivityStamp.h"
#include "Vintra/audio/AudioPreviews.h"
#include "Vintra/audio/AudioSamplePath.h"
#include "Vintra/audio/OutputRouting.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/Task.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// Looks at three things that fail quietly: the mic's session, the second input's, and the relay of the
/// computer's sound. A session may claim to run while no buffer comes; a device may no longer call a relay.
///
///     healthy --4 s without a buffer (relay: two bad checks)--> stalled
///     between takes: stalled --rebuild, three times at most--> healthy, or given up and told
///     in a take:     stalled --told once--> healthy, or stalled to the end: a rebuild would tear a track
///
/// Owned by the controller, which calls `check` every 2 seconds for as long as it lives. Main thread.
class AudioHealthWatchdog {
public:
    /// All outlive this.
    struct Surroundings {
        const Platform& platform;
        AudioPreviews& previews;
        OutputRouting& outputRouting;
        AudioSamplePath& samplePath;
        const Published<bool>& isRecording;
        Published<std::optional<std::string>>& lastError;
    };

    explicit AudioHealthWatchdog(const Surroundings& surroundings);

    /// The relay, then the mic, then the second input.
    void check();

private:
    /// A preview that is watched, with its words.
    struct Source {
        std::string name; ///< in the log
        std::string stalledInTake;
        std::string givenUp;
        const AudioPreview& preview;
        ActivityStamp& activity;
        std::function<Task<>()> rebuild;
        int attempts = 0; ///< rebuilds since it last looked healthy
        bool isWarnedOf = false;
    };

    void check(Source& source);
    Task<> recover(Source& source, int attempt);
    void checkRelay();
    void tellOfRelay(bool hasMismatch);
    Task<> recoverRelay(int attempt);
    void log(const std::string& text) const;

    const Platform& platform;
    OutputRouting& outputRouting;
    const Published<bool>& isRecording;
    Published<std::optional<std::string>>& lastError;
    Source mic;
    Source daw;
    std::optional<SystemAudioRelay::IOCounts> relayIOSample; ///< at the check before
    int relayStalledChecks = 0;                              ///< in a row
    int relayRecoveryAttempts = 0;
    bool warnedRelayStalledWhileRecording = false;
    MainThreadTasks tasks;
};

} // namespace vintra

#pragma once

#include "Vintra/audio/ActivityStamp.h"
#include "Vintra/audio/AudioCaptureChain.h"
#include "Vintra/audio/AudioSelection.h"
#include "Vintra/audio/DeviceSampleRateWatcher.h"
#include "Vintra/audio/LevelKey.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/SessionControl.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// The running capture session of the device of one chief track: the mic's or the second one's. It runs
/// between takes, for the meters, and a take attaches its writer to it; during a take it isn't touched.
///
///     absent --configure--> running --(selection, format or session changes)--> absent --configure--> ...
///
/// Owned by `AudioPreviews`. Main thread.
class AudioPreview {
public:
    /// What makes the preview that of its track.
    struct Role {
        std::string formatChanged; ///< the sentence for a format that changes in a take
        LevelKey level;
        /// The unique id of the device that is to run; nothing for none.
        std::function<std::optional<std::string>()> target;
        std::function<int(const AVCaptureDevice&)> channels;
        std::shared_ptr<DispatchQueue> queue;
    };
    /// All outlive the preview.
    struct Surroundings {
        const Platform& platform;
        AudioSelection& selection;
        SessionControl& sessionControl;
        const Published<bool>& isRecording;
        Published<std::optional<std::string>>& lastError;
        std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate;
        /// To be called when the session or its device is another one.
        std::function<void()> changed;
    };

    /// The activity outlives the preview.
    AudioPreview(Role role, const Surroundings& surroundings, ActivityStamp& activity);

    /// Brings the session in line with the target. In a take none appears.
    Task<> configure();
    /// The same, with a new session even for the same device. Does nothing in a take.
    Task<> rebuild();
    /// A new session in the place of one that doesn't run, if the target is there. Does nothing in a take.
    Task<> restore();
    /// No further session comes. The one there is stays until `end`.
    void refuseMore() { hasEnded = true; }
    /// Ends the preview for good.
    Task<> end();
    /// Forces a new session at the next configure.
    void forgetDevice() { installed.deviceID = std::nullopt; }

    const std::shared_ptr<AVCaptureSession>& session() const { return installed.chain.session; }
    const std::shared_ptr<AVCaptureAudioDataOutput>& dataOutput() const { return installed.chain.dataOutput; }
    /// Nothing forces a new session at the next configure.
    const std::optional<std::string>& deviceID() const { return installed.deviceID; }
    /// Whether the session runs and a buffer of it has come.
    bool isDelivering() const;
    /// Where the device's samples come out; null unless this preview runs that device.
    std::shared_ptr<AVCaptureAudioDataOutput> outputOf(const AVCaptureDevice& device) const;

private:
    struct Installed {
        AudioCaptureChain chain;
        std::optional<std::string> deviceID;
        std::unique_ptr<DeviceSampleRateWatcher> sampleRateWatcher;
        double configuredAt = 0; ///< host seconds
    };

    Task<> takeDown();
    void install(AudioCaptureChain chain, const std::string& deviceID);
    void handleFormatChanged();

    const Role role;
    const Surroundings surroundings;
    ActivityStamp& activity;
    Installed installed;
    bool hasEnded = false;
    MainThreadTasks tasks;
};

} // namespace vintra

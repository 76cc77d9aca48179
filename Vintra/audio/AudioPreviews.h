#pragma once

#include "Vintra/audio/AudioPreview.h"
#include "Vintra/audio/AudioSamplePath.h"
#include "Vintra/audio/AudioSelection.h"
#include "Vintra/audio/ExtraAudioPreviews.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/SessionControl.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

class OutputRouting;

/// One running capture session for each sound device that the user has chosen. The meters hang on these
/// sessions between takes, and a take merely attaches writers to them: it never starts a device cold. During
/// a take they are frozen. Follows the selection, and keeps the routing of the sample path in line with both.
/// Owned by the controller. Main thread.
class AudioPreviews {
public:
    /// All outlive the previews.
    struct Surroundings {
        const Platform& platform;
        AudioSelection& selection;
        SessionControl& sessionControl;
        OutputRouting& outputRouting;
        const Published<bool>& isRecording;
        Published<std::optional<std::string>>& lastError;
        std::shared_ptr<AudioSamplePath> samplePath;
    };

    explicit AudioPreviews(const Surroundings& surroundings);

    /// Brings a preview in line with its selection. A take needs the previews of its devices running.
    Task<> configureMicPreview() { return micPreview.configure(); }
    Task<> configureDawPreview() { return dawPreview.configure(); }
    Task<> configureExtraPreviews() { return extraPreviews.configure(); }
    Task<> rebuildMicPreview() { return micPreview.rebuild(); }
    Task<> rebuildDawPreview() { return dawPreview.rebuild(); }
    /// Ends every preview for good, for the end of the program: afterwards no sample callback comes. Not in a
    /// take.
    Task<> endPreviews();
    /// Puts another session in the place of one that has ended by itself. Others are none of its business.
    void repairPreview(const std::shared_ptr<AVCaptureSession>& session);
    /// Starts the sessions of a device that has come back in a take, so that its tracks go on. They are the
    /// sessions that the take began with: their outputs feed its tracks. One that runs is left alone.
    void resume(const std::string& deviceID);
    /// The device of a preview's session; nothing if the session is none of theirs.
    std::optional<std::string> deviceOf(const std::shared_ptr<AVCaptureSession>& session) const;
    /// A new session for each preview of the device whose own has ended. Not in a take.
    void repairDevice(const std::string& deviceID);

    /// After the sound service was away: routes the computer's sound again, and puts sessions in the place of those
    /// that have ended. In a take the sessions that it began with go on. What isn't there is left as it is;
    /// the last of several tries tells of it.
    Task<> restore(bool isLastTry);
    /// The sound service has ended, and every session and the relay with it.
    void serviceHasEnded();
    /// It is back: what is watched for buffers has time to deliver again.
    void serviceIsBack();

    const AudioPreview& mic() const { return micPreview; }
    const AudioPreview& daw() const { return dawPreview; }
    const ExtraAudioPreviews& extra() const { return extraPreviews; }
    /// Of the mic, the second input, the extra inputs, and the one that is only drained: in the order of a
    /// drain.
    std::vector<std::shared_ptr<DispatchQueue>> queues() const;

    /// The channels that the second track takes of a device: two at the most.
    static int dawChannelCount(const AVCaptureDevice& device);

private:
    std::vector<std::shared_ptr<AVCaptureSession>> sessionsThatEnded(const std::string& deviceID) const;
    AudioPreview::Surroundings previewSurroundings();
    AudioPreview::Role micRole() const;
    AudioPreview::Role dawRole() const;
    std::optional<std::string> dawPreviewTargetDeviceID() const;
    void followSelection();
    void extraAudioInputsChanged(const std::vector<ExtraAudioInputConfig>& old);
    void captureSystemAudioChanged();
    void lowLatencyMonitoringChanged();
    Task<> applyComputerAudioChoice();
    Task<> applyLowLatencyChoice();
    void noteLastUsedAudioDevice(const std::optional<std::string>& uniqueID);
    void syncRoutingCache();
    void noteDelivery();

    const Platform& platform;
    AudioSelection& selection;
    SessionControl& sessionControl;
    OutputRouting& outputRouting;
    const Published<bool>& isRecording;
    Published<std::optional<std::string>>& lastError;
    const std::shared_ptr<AudioSamplePath> samplePath;
    const std::shared_ptr<DispatchQueue> micOutputQueue;
    const std::shared_ptr<DispatchQueue> dawOutputQueue;
    const std::shared_ptr<DispatchQueue> extraInputOutputQueue;
    const std::shared_ptr<DispatchQueue> systemAudioQueue; ///< only drained
    AudioPreview micPreview;
    AudioPreview dawPreview;
    ExtraAudioPreviews extraPreviews;
    std::vector<Observation> levelObservations; ///< of levels, which tell that a preview delivers
    MainThreadTasks tasks;
};

} // namespace vintra

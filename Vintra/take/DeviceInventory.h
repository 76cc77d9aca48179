#pragma once

#include "Vintra/audio/AudioDeviceListWatcher.h"
#include "Vintra/audio/AudioPreviews.h"
#include "Vintra/audio/OutputRouting.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/take/RunningTake.h"
#include "Vintra/take/ScreenSource.h"
#include "Vintra/take/SoundServiceWatch.h"
#include "Vintra/video/Cameras.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vintra {

/// The lists of devices that the user chooses from, and devices that come and go. An idle recorder lets go of
/// what has gone; a take keeps its selections, and the user is told which track has stopped. Owned by the
/// controller. Main thread.
///
/// A sound service that is away takes all devices with it, and is no reason to let go of any.
class DeviceInventory {
public:
    /// All outlive this.
    struct Surroundings {
        const Platform& platform;
        AudioSelection& audio;
        AudioPreviews& previews;
        OutputRouting& outputRouting;
        ScreenSource& screenSource;
        CameraSelection& cameraSelection;
        Cameras& cameras;
        const Published<bool>& isRecording;
        const std::unique_ptr<RunningTake>& take; ///< null between takes
        Published<std::optional<std::string>>& lastError;
    };

    explicit DeviceInventory(const Surroundings& surroundings);

    /// Lists the sound inputs, the one used last in front.
    void refreshAudioDevices();
    void refreshCameraDevices();
    /// From now on follows devices that come and go.
    void observe();

private:
    /// The unique ids of all sound inputs and of all cameras there are.
    struct DeviceIdentity {
        std::set<std::string> audio;
        std::set<std::string> camera;
        bool operator==(const DeviceIdentity&) const = default;
    };

    DeviceIdentity currentDeviceIdentity() const;
    void handleDeviceInventoryChanged();
    void forgetDevicesThatWent();
    void handleDeviceConnected(const std::shared_ptr<AVCaptureDevice>& device);
    void reviveIfBack(const std::string& deviceID);
    void forgetRowsThatWent();
    void handleDeviceDisconnected(const std::shared_ptr<AVCaptureDevice>& device);
    void forgetWhatWent();
    std::vector<std::string> tracksOn(const std::string& deviceID) const;
    void handleCaptureSessionRuntimeError(const std::shared_ptr<AVCaptureSession>& session,
                                          const SystemError& error);
    void repairOrGiveUp(const std::shared_ptr<AVCaptureSession>& session, const SystemError& error);

    const Platform& platform;
    AudioSelection& audio;
    AudioPreviews& previews;
    OutputRouting& outputRouting;
    ScreenSource& screenSource;
    CameraSelection& cameraSelection;
    Cameras& cameras;
    const Published<bool>& isRecording;
    const std::unique_ptr<RunningTake>& take;
    Published<std::optional<std::string>>& lastError;
    DeviceIdentity knownDeviceIdentity;
    std::map<std::string, std::vector<double>>
        repairs; ///< by the id of the device, when; seconds of host time
    AudioDeviceListWatcher deviceListWatcher;
    Observation captureDeviceObservation;
    SoundServiceWatch soundService;
    MainThreadTasks tasks;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/AVCaptureVideoDevice.h"
#include "Vintra/platform/simulated/SimulatedCameras.h"
#include "Vintra/platform/simulated/SimulatedViolations.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A simulated camera as something to capture from. What is set without the lock, or what the camera can't do,
/// becomes a violation. One real thread.
class SimulatedVideoDevice : public AVCaptureVideoDevice {
public:
    SimulatedVideoDevice(std::shared_ptr<SimulatedCameras> cameras, std::shared_ptr<SimulatedCamera> camera,
                         std::shared_ptr<SimulatedViolations> violations);

    const std::string& uniqueID() const override { return camera->uid; }
    const std::string& localizedName() const override { return camera->name; }
    bool isConnected() const override { return cameras->contains(*camera); }
    std::optional<AudioStreamBasicDescription> activeAudioFormat() const override { return std::nullopt; }
    std::vector<AVCaptureDeviceFormat> formats() const override { return camera->formats; }
    std::optional<AVCaptureDeviceFormat> activeFormat() const override { return camera->activeFormat; }
    CMTime activeVideoMinFrameDuration() const override { return camera->minFrameDuration; }
    CMTime activeVideoMaxFrameDuration() const override { return camera->maxFrameDuration; }
    bool lockForConfiguration() override;
    void unlockForConfiguration() override;
    void setActiveFormat(const AVCaptureDeviceFormat& format) override;
    void setActiveVideoMinFrameDuration(CMTime duration) override;
    void setActiveVideoMaxFrameDuration(CMTime duration) override;

    SimulatedCamera& script() const { return *camera; }
    const std::shared_ptr<SimulatedCamera>& sharedScript() const { return camera; }

private:
    bool mayConfigure(const std::string& what);
    bool supports(CMTime duration) const;

    const std::shared_ptr<SimulatedCameras> cameras;
    const std::shared_ptr<SimulatedCamera> camera;
    const std::shared_ptr<SimulatedViolations> violations;
    int locks = 0;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

#include <memory>
#include <optional>
#include <string>

namespace vintra {

class PipeWireConnection;

/// A sound input as it was when it was looked up; only `isConnected` and the format follow the server. Any
/// thread.
class PipeWireCaptureDevice : public AVCaptureDevice {
public:
    PipeWireCaptureDevice(std::shared_ptr<PipeWireConnection> connection, PipeWireNode node);

    const std::string& uniqueID() const override { return node.name; }
    const std::string& localizedName() const override { return node.description; }
    bool isConnected() const override;
    std::optional<AudioStreamBasicDescription> activeAudioFormat() const override;
    std::optional<std::string> captureProblem() const override;

private:
    const std::shared_ptr<PipeWireConnection> connection;
    const PipeWireNode node;
};

} // namespace vintra

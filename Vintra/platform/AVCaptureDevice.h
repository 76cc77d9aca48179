#pragma once

#include "Vintra/platform/CMFormatDescription.h"

#include <optional>
#include <string>

namespace vintra {

enum class AVAuthorizationStatus { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// A microphone, another sound input or a camera (`AVCaptureVideoDevice`). Main thread, unless a member says
/// otherwise.
class AVCaptureDevice {
public:
    virtual ~AVCaptureDevice() = default;
    /// Any thread.
    virtual const std::string& uniqueID() const = 0;
    /// As the user knows it. Any thread.
    virtual const std::string& localizedName() const = 0;
    virtual bool isConnected() const = 0;
    /// The layout that a sound input runs at; nothing if it can't be read or this is a camera.
    virtual std::optional<AudioStreamBasicDescription> activeAudioFormat() const = 0;
    /// Why a sound input can't be captured with all of its channels: the rest of a sentence that begins with its name,
    /// without the full stop. Nothing if it can.
    virtual std::optional<std::string> captureProblem() const { return std::nullopt; }
};

} // namespace vintra

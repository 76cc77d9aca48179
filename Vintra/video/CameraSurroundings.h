#pragma once

#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/SessionControl.h"
#include "Vintra/video/CameraSelection.h"

#include <functional>
#include <optional>
#include <string>

namespace vintra {

/// What the cameras are given. All that is referred to outlives them.
struct CameraSurroundings {
    const Platform& platform;
    CameraSelection& selection;
    SessionControl& sessionControl;
    const Published<bool>& isRecording;
    Published<std::optional<std::string>>& lastError;
    std::string accessDenied; ///< the sentence for a user who doesn't let cameras be used
    /// The sentence for a part that couldn't be set up, by its name.
    std::function<std::string(std::string name)> cannotSetUp;
};

} // namespace vintra

#pragma once

#include <string>

namespace vintra {

/// What the sentences for the user call the machine and the places on it. A platform gives its own; here are
/// the words of the sentences as they were first written. A value.
struct MachineWords {
    std::string computer = "Mac";          ///< as in "Your Mac can't keep up"
    std::string operatingSystem = "macOS"; ///< in front of its version
    std::string fileBrowser = "Finder";
    std::string microphoneSettings = "System Settings > Privacy & Security > Microphone";
    std::string cameraSettings = "System Settings > Privacy & Security > Camera";
    std::string soundSettings = "Audio MIDI Setup"; ///< where the rates of sound devices are set
    std::string pasteKeys = "⌘V";
};

} // namespace vintra

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
    /// What is said when clicks are to be shown and the machine doesn't tell them.
    std::string clicksNotTold =
        "Show mouse clicks needs Accessibility permission to detect clicks — grant it "
        "in System Settings > Privacy & Security > Accessibility, then switch Show "
        "clicks off and on again.";
    std::string terminal = "Terminal"; ///< as in "run this in Terminal"
    /// What clears the program's settings there.
    std::string clearSettingsCommand = "defaults delete com.kestrelworks.screenrecorder.v2";
    std::string includedWork = "Sparkle and code from Apple"; ///< by others, as in "Vintra includes"
    /// Where programs are removed, if there is no address to point to.
    std::string programRemovalPlace = "the Applications folder";
};

} // namespace vintra

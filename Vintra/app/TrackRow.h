#pragma once

#include "Vintra/app/MenuState.h"
#include "Vintra/audio/LevelKey.h"
#include "Vintra/capturearea/CaptureModeChoice.h"
#include "Vintra/platform/UUID.h"
#include "Vintra/video/CameraResolution.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// A row of an audio input: the microphone, or a further input.
struct MicTrackRow {
    std::optional<UUID> config; ///< of a further input; nothing for the microphone
    std::string name;           ///< the user's
    std::string namePlaceholder;
    std::optional<std::string> deviceID; ///< nothing: not armed
    MenuState availableDevices;
    int channelIndex = 0;
    int channelCount = 1; ///< of the chosen device; there is a menu of them above 1
    double gainDB = 0;
    LevelKey meterSource;
    bool isSilent = false; ///< armed, but no sound has come for a while
    bool disabled = false; ///< all but the meter
    bool canArm = true;    ///< there is a device to arm
    bool showAddLink = false;

    bool isArmed() const { return deviceID.has_value(); }
    bool isRemovable() const { return config.has_value(); }
    std::string gainTitle() const; ///< "+6 dB"
    bool operator==(const MicTrackRow&) const = default;
};

struct ScreenRow {
    bool isArmed = false;
    std::string summary;
    bool disabled = false;
    bool operator==(const ScreenRow&) const = default;
};

/// Stands under the screen's while that is armed.
struct CaptureAreaRow {
    MenuState displays; ///< option ids are display numbers
    CaptureModeChoice mode = CaptureModeChoice::fullScreen;
    std::vector<CaptureModeChoice> modes{}; ///< those that are offered
    std::string limits{};                   ///< what this desktop doesn't allow; mostly empty
    bool disabled = false;
    bool operator==(const CaptureAreaRow&) const = default;
};

struct WebcamRow {
    std::optional<UUID> config; ///< of a further camera; nothing for the first
    std::string label;          ///< "Webcam", "Webcam 2"
    std::optional<std::string> deviceID;
    MenuState availableDevices;
    CameraResolution resolution = CameraResolution::uhd;
    bool canChooseResolution = false;
    bool canShowPreview = false;
    bool disabled = false;
    bool canArm = true; ///< there is a camera to arm
    bool showAddLink = false;

    bool isArmed() const { return deviceID.has_value(); }
    bool isRemovable() const { return config.has_value(); }
    bool operator==(const WebcamRow&) const = default;
};

struct ComputerAudioRow {
    struct Message {
        std::string text;
        bool isWarning = false;
        bool operator==(const Message&) const = default;
    };

    bool isArmed = false;
    std::string deviceName;
    std::optional<Message> message;
    MenuState monitors;      ///< "Hearing it through"; shown while armed
    std::string recordedAt;  ///< "— recorded at 48kHz"; empty if no output is known
    bool lowLatency = false; ///< shown while armed
    bool disabled = false;   ///< the check alone
    bool operator==(const ComputerAudioRow&) const = default;
};

/// Another device that is recorded as the second track; or the link that brings its row.
struct OtherVirtualInputRow {
    bool isShown = false; ///< false: the link stands in its place
    std::optional<std::string> deviceID;
    MenuState availableDevices;
    bool canArm = true;
    bool disabled = false;
    bool isArmed() const { return deviceID.has_value(); }
    bool operator==(const OtherVirtualInputRow&) const = default;
};

/// A row of the tracks. Rows with the same id are the same row, whatever has changed in it.
struct TrackRow {
    std::string id;
    std::variant<MicTrackRow, ScreenRow, CaptureAreaRow, WebcamRow, ComputerAudioRow, OtherVirtualInputRow>
        content;
    bool operator==(const TrackRow&) const = default;
};

/// The words that stand in the rows whatever their state.
namespace TrackTexts {
inline constexpr const char* tracks = "Tracks";
inline constexpr const char* microphone = "Microphone";
inline constexpr const char* addMicrophone = "Add another microphone";
inline constexpr const char* noSound = "No sound";
inline constexpr const char* screen = "Screen";
inline constexpr const char* screenImage = "display";
inline constexpr const char* captureOptions = "Capture options";
inline constexpr const char* captureOptionsImage = "viewfinder";
inline constexpr const char* display = "Display";
inline constexpr const char* webcamImage = "video";
inline constexpr const char* showPreview = "Show preview";
inline constexpr const char* addWebcam = "Add another webcam";
inline constexpr const char* computerAudio = "Computer audio";
inline constexpr const char* computerAudioImage = "speaker.wave.2";
inline constexpr const char* hearingItThrough = "Hearing it through";
inline constexpr const char* lowLatency = "Low latency monitoring";
inline constexpr const char* lowLatencyHelp =
    "For playing an instrument through a DAW while you record. Hearing your computer's sound gets closer to real "
    "time. It uses a little more processor and leaves less room for error, so if the sound breaks up, turn it off.";
inline constexpr const char* otherVirtualInput = "Other virtual input";
inline constexpr const char* otherVirtualInputImage = "cable.connector";
inline constexpr const char* removeVirtualInputHelp =
    "Remove this row — Vintra's own audio device is still available above";
inline constexpr const char* useDifferentVirtualInput = "Use a different virtual input";
} // namespace TrackTexts

} // namespace vintra

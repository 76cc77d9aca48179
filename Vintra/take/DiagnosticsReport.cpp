#include "Vintra/take/DiagnosticsReport.h"

#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/FixedText.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/Text.h"
#include "Vintra/video/CameraFormatChoice.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace vintra {
namespace {

using Lines = std::vector<std::string>;

constexpr double kFileSampleRate = 48'000; // hertz, of every sound file

std::string whole(double number) {
    return std::to_string(static_cast<int64_t>(number));
}

/// A negative gain stands behind the plus as it is.
std::string gain(double decibels) {
    return " · gain +" + whole(decibels) + "dB";
}

std::string trueOrFalse(bool value) {
    return value ? "true" : "false";
}

/// A sound input in words.
std::string describe(const AudioSelection& audio, const std::optional<std::string>& id) {
    if (!id) return "off";
    const auto device = audio.availableAudioInput(id);
    std::string text = device ? device->localizedName() : *id;
    const auto& counts = *audio.audioDeviceChannelCounts;
    if (const auto count = counts.find(*id); count != counts.end())
        text += " (" + std::to_string(count->second) + "ch)";
    return text;
}

void addMachine(Lines& lines, const Platform& platform) {
    const MachineFacts& facts = platform.facts;
    lines.push_back("Vintra " + facts.appVersion + " (build " + facts.buildVersion + ")");
    lines.push_back(platform.words.operatingSystem +
                    (facts.operatingSystemVersion.empty() ? "" : " " + facts.operatingSystemVersion) + " · " +
                    facts.hardwareModel);
    lines.emplace_back();
}

void addOutput(Lines& lines, const AudioSelection& audio) {
    const auto& output = *audio.systemOutputStatus;
    if (!output) {
        lines.emplace_back("Output device: could not be read");
        return;
    }
    const std::string resampled =
        output->sampleRate == kFileSampleRate
            ? ""
            : "  (resampled to " + SystemOutputStatus::format(kFileSampleRate) + " on write)";
    lines.push_back("Output device: " + output->deviceName + " @ " +
                    SystemOutputStatus::format(output->sampleRate) + resampled);
}

void addScreen(Lines& lines, const DiagnosticsSources& sources) {
    lines.push_back(std::string("Screen: ") + (*sources.screen.screenEnabled ? "on" : "off") +
                    (*sources.screen.showMouseClicks ? " (click highlight on)" : ""));
    if (sources.status.lastScreenDropSummary) lines.push_back("  " + *sources.status.lastScreenDropSummary);
}

/// " @30.00", or " @15.00–30.00" for a camera that may vary; nothing if it can't be read.
std::string rateText(const AVCaptureVideoDevice& device) {
    constexpr double tolerance = 0.0005; // seconds
    const double shortest = CMTimeGetSeconds(device.activeVideoMinFrameDuration());
    const double longest = CMTimeGetSeconds(device.activeVideoMaxFrameDuration());
    if (!(shortest > 0)) return "";
    const std::string top = fixedText(1 / shortest, 2);
    if (!(longest > 0) || std::fabs(longest - shortest) <= tolerance) return " @" + top;
    return " @" + fixedText(1 / longest, 2) + "–" + top;
}

std::string cameraSummary(const Cameras& cameras, const AVCaptureVideoDevice& device, const CameraTap& tap) {
    const auto sizeText = [](CMVideoDimensions size) {
        return std::to_string(size.width) + "×" + std::to_string(size.height);
    };
    const auto format = device.activeFormat();
    const CMVideoDimensions active = format ? format->formatDescription.dimensions : CMVideoDimensions{};
    std::string text = device.localizedName() + " · " + sizeText(active) + rateText(device);
    const CMVideoDimensions sent = tap.frameSize->read();
    if (sent.width > 0 && sent.height > 0 && sent != active) text += " · sending " + sizeText(sent);
    if (cameras.cameraResolution(device.uniqueID()) == CameraResolution::hd) text += " · 1080p chosen";
    return text;
}

std::string firstCamera(const DiagnosticsSources& sources) {
    if (const auto& device = sources.cameras.webcamDevice())
        return cameraSummary(sources.cameras, *device, sources.cameras.webcam());
    const auto& selected = *sources.camera.selectedCameraDeviceID;
    if (!selected) return "off";
    const auto listed = sources.camera.availableCamera(selected);
    return listed ? listed->localizedName() : *selected;
}

std::string rateCeiling(const UserDefaults& defaults, int64_t reasserts) {
    const auto ceiling = webcamMaxFrameRate(defaults);
    if (!ceiling) return "  camera frame rate ceiling: none (lifted by webcamMaxFrameRate)";
    return "  camera frame rate ceiling: " + whole(*ceiling) + " fps (" +
           (defaults.value("webcamMaxFrameRate") ? "set by webcamMaxFrameRate" : "default") +
           ") · put back " + std::to_string(reasserts) + " time" + (reasserts == 1 ? "" : "s") +
           " after something reset it";
}

void addCameras(Lines& lines, const DiagnosticsSources& sources) {
    lines.push_back("Webcam: " + firstCamera(sources));
    std::vector<std::string> extra;
    for (const ExtraCameraRig& rig : sources.cameras.extraCameraRigs())
        extra.push_back(cameraSummary(sources.cameras, *rig.device, *rig.tap));
    if (!extra.empty()) lines.push_back("Extra webcams: " + joined(extra, " | "));
    lines.push_back(rateCeiling(*sources.platform.userDefaults, sources.cameras.reasserts()));
    for (const std::string& summary : sources.status.lastCameraTakeSummary)
        lines.push_back("  " + summary);
    if (!sources.status.lastEncoderSummary.empty())
        lines.push_back("  last take · encoders: " + sources.status.lastEncoderSummary);
}

void addMic(Lines& lines, const AudioSelection& audio) {
    const std::string name = audio.micTrackName->empty() ? "mic" : *audio.micTrackName;
    lines.push_back("Mic: " + describe(audio, *audio.selectedMicDeviceID) + " · ch " +
                    std::to_string(*audio.selectedMicChannelIndex + 1) + gain(*audio.micGainDB) +
                    " · name \"" + name + "\"");
}

void addComputerAudio(Lines& lines, const DiagnosticsSources& sources) {
    const AudioSelection& audio = sources.audio;
    const AudioHardware& hardware = *sources.platform.audioHardware;
    const auto device = SystemOutputRouter::deviceID(hardware, SystemOutputRouter::virtualDeviceUID);
    const bool isListed = sources.outputRouting.virtualAudioCaptureDevice() != nullptr;
    const bool hasRelay = sources.outputRouting.hasSystemAudioRelay();
    std::string state = "system audio tap (driver installed, but relay not running)";
    if (isListed && hasRelay)
        state = "Vintra Audio device";
    else if (!device)
        state = "system audio tap (driver not found)";
    if (device) state += " · device " + whole(hardware.nominalSampleRate(*device).value_or(0)) + "Hz";
    lines.push_back("Computer audio: " + state + gain(*audio.dawGainDB) + " · trim -6dB" +
                    (*audio.lowLatencyMonitoring ? " · LOW LATENCY monitoring" : ""));
    const WallClock& clock = *sources.platform.wallClock;
    if (const auto live = sources.outputRouting.relayTelemetry()) {
        lines.push_back("Relay: " + live->summary(clock));
    } else if (audio.lastRelayTelemetry) {
        lines.push_back("Relay (last take): " + audio.lastRelayTelemetry->summary(clock));
    }
    std::string monitor = "same as before";
    if (const auto& uid = *audio.systemAudioMonitorUID) {
        const auto found = SystemOutputRouter::deviceID(hardware, *uid);
        monitor =
            found ? SystemOutputRouter::name(hardware, *found).value_or(*uid) : "saved device not attached";
    }
    lines.push_back("  driver installed: " + trueOrFalse(*audio.systemAudioDriverInstalled) +
                    " · in device list: " + trueOrFalse(isListed) + " · monitor: " + monitor);
}

void addSecondTrack(Lines& lines, const DiagnosticsSources& sources) {
    if (*sources.audio.captureSystemAudioForDaw) {
        addComputerAudio(lines, sources);
        return;
    }
    lines.push_back("Virtual input: " + describe(sources.audio, *sources.audio.selectedDawDeviceID) +
                    gain(*sources.audio.dawGainDB) + " · trim -6dB");
}

void addExtraInputs(Lines& lines, const AudioSelection& audio) {
    const auto& rows = *audio.extraAudioInputs;
    if (rows.empty()) {
        lines.emplace_back("Extra inputs: none");
        return;
    }
    lines.push_back("Extra inputs (" + std::to_string(rows.size()) + "):");
    for (const ExtraAudioInputConfig& row : rows) {
        lines.push_back("  · " + (row.name.empty() ? "(unnamed)" : row.name) + ": " +
                        describe(audio, row.deviceID) + " ch " + std::to_string(row.channelIndex + 1) +
                        gain(row.gainDB));
    }
}

void addState(Lines& lines, const TakeStatus& status) {
    lines.push_back(std::string("State: ") + (*status.isRecording ? "recording" : "idle") + " · " +
                    *status.statusMessage);
    if (*status.lastError) lines.push_back("Last message: " + **status.lastError);
    if (!status.lastTakeSync.empty()) lines.emplace_back("Files of the last take, against its common start:");
    for (const std::string& line : status.lastTakeSync)
        lines.push_back("  " + line);
}

} // namespace

std::string diagnosticsReport(const DiagnosticsSources& sources) {
    Lines lines;
    addMachine(lines, sources.platform);
    addOutput(lines, sources.audio);
    addScreen(lines, sources);
    addCameras(lines, sources);
    addMic(lines, sources.audio);
    addSecondTrack(lines, sources);
    addExtraInputs(lines, sources.audio);
    addState(lines, sources.status);
    return joined(lines, "\n");
}

std::string crashReportForSharing(const DiagnosticsSources& sources) {
    Lines lines;
    if (const auto& crash = *sources.status.pendingCrashReport)
        lines = {"========== CRASH REPORT ==========", *crash, ""};
    lines.emplace_back("========== SETUP / DIAGNOSTICS ==========");
    lines.push_back(diagnosticsReport(sources));
    return joined(lines, "\n");
}

} // namespace vintra

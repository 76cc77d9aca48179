#include "tools/vintra-take/CameraChoice.h"

#include "Vintra/platform/CMTime.h"
#include "Vintra/video/CameraFormatChoice.h"
#include "tools/vintra-take/Numbers.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

const KnownCamera* cameraMeant(const std::string& text, const std::vector<KnownCamera>& cameras) {
    const KnownCamera* longest = nullptr;
    for (const KnownCamera& camera : cameras) {
        const bool meant = text == camera.id || text.starts_with(camera.id + ":");
        if (meant && (!longest || camera.id.size() > longest->id.size())) longest = &camera;
    }
    return longest;
}

InputProblem unknownCamera(const std::string& text, const std::vector<KnownCamera>& cameras) {
    return {cameras.empty() ? "There is no camera “" + text + "”: this machine has none."
                            : "There is no camera “" + text + "”. --list shows the ones there are."};
}

/// A rate to the hundredth.
std::string hundredths(double rate) {
    return plainNumber(std::round(rate * 100) / 100);
}

} // namespace

KnownCamera knownCamera(const AVCaptureVideoDevice& device, std::optional<double> cap) {
    KnownCamera camera{.id = device.uniqueID(),
                       .name = device.localizedName(),
                       .formats = device.formats(),
                       .chosen = std::nullopt,
                       .rate = 0};
    camera.chosen = bestCameraFormat(camera.formats, cap, kMostLines);
    if (!camera.chosen) return camera;
    const auto duration = cap ? cappedFrameDuration(*cap, *camera.chosen) : std::nullopt;
    if (duration) {
        camera.rate = 1 / CMTimeGetSeconds(*duration);
        return camera;
    }
    for (const AVFrameRateRange& range : camera.chosen->videoSupportedFrameRateRanges)
        camera.rate = std::max(camera.rate, range.maxFrameRate);
    return camera;
}

std::variant<std::vector<CameraChoice>, InputProblem>
parseCameraChoices(const std::vector<std::string>& texts, const std::vector<std::string>& idsOf1080p,
                   const std::vector<KnownCamera>& cameras) {
    std::vector<CameraChoice> choices;
    for (const std::string& text : texts) {
        const KnownCamera* const camera = cameraMeant(text, cameras);
        if (!camera) return unknownCamera(text, cameras);
        if (std::ranges::find(choices, camera->id, &CameraChoice::deviceID) != choices.end()) {
            return InputProblem{"“" + camera->id + "” is named twice: a take records a camera once.", true};
        }
        const std::string rest = text.substr(camera->id.size());
        choices.push_back(
            {.deviceID = camera->id, .name = rest.empty() ? rest : rest.substr(1), .is1080p = false});
    }
    for (const std::string& id : idsOf1080p) {
        const auto choice = std::ranges::find(choices, id, &CameraChoice::deviceID);
        if (choice == choices.end()) {
            if (!cameraMeant(id, cameras)) return unknownCamera(id, cameras);
            return InputProblem{"--camera-1080p “" + id +
                                    "” is for a camera that is recorded: name it by --camera as well.",
                                true};
        }
        choice->is1080p = true;
    }
    return choices;
}

std::string textOf(const CMVideoDimensions& size) {
    return std::to_string(size.width) + "×" + std::to_string(size.height);
}

std::string textOfSubType(uint32_t mediaSubType) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto letter = static_cast<unsigned char>(mediaSubType >> shift);
        if (letter < 0x20 || letter > 0x7e) return std::to_string(mediaSubType);
        text += static_cast<char>(letter);
    }
    return text;
}

std::string textOfRates(const AVCaptureDeviceFormat& format) {
    std::string text;
    for (const AVFrameRateRange& range : format.videoSupportedFrameRateRanges) {
        if (!text.empty()) text += ", ";
        if (range.minFrameRate < range.maxFrameRate) text += hundredths(range.minFrameRate) + "-";
        text += hundredths(range.maxFrameRate);
    }
    return text;
}

} // namespace vintra

#include "Vintra/take/TrackNames.h"

#include "Vintra/platform/LetterCase.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/take/Text.h"

namespace vintra {
namespace {

constexpr std::string_view kVideoEnding = "_video";

URL besideVideo(const URL& videoURL, const std::string& ending) {
    return videoURL.deletingLastPathComponent().appendingPathComponent(takeBaseName(videoURL) + ending);
}

std::string cleanedSuffix(const std::string& name) {
    const std::string trimmed = trimmingWhitespaceAndNewlines(name);
    const std::string cleaned = replacingControlCharacters(replacingOccurrences(trimmed, '/', '-'), "-");
    return cleaned.empty() ? "input" : cleaned;
}

} // namespace

URL screenMovieURL(const URL& inFolder, const std::string& sessionName) {
    return inFolder.appendingPathComponent(sessionName + std::string(kVideoEnding) + ".mov");
}

std::string takeBaseName(const URL& forVideoURL) {
    std::string base = forVideoURL.stem();
    if (base.ends_with(kVideoEnding)) base.resize(base.size() - kVideoEnding.size());
    return base;
}

URL trackURL(const URL& forVideoURL, const std::string& suffix) {
    return besideVideo(forVideoURL, "_" + suffix + ".wav");
}

URL webcamURL(const URL& forVideoURL) {
    return besideVideo(forVideoURL, "_webcam.mov");
}

URL webcamURL(const URL& forVideoURL, int number) {
    if (number < 2) return webcamURL(forVideoURL);
    return besideVideo(forVideoURL, "_webcam-" + std::to_string(number) + ".mov");
}

std::string micTrackSuffix(const std::string& micTrackName) {
    return micTrackName.empty() ? "mic" : cleanedSuffix(micTrackName);
}

std::string extraInputSuffix(const std::string& name, const std::string& deviceName, int channelIndex) {
    if (!name.empty()) return cleanedSuffix(name);
    return cleanedSuffix(deviceName) + "_ch" + std::to_string(channelIndex + 1);
}

std::string reserveTrackName(const std::string& base, std::set<std::string>& reservedTrackNames) {
    std::string candidate = base;
    for (int number = 2; !reservedTrackNames.insert(lowercased(candidate)).second; ++number)
        candidate = base + "-" + std::to_string(number);
    return candidate;
}

} // namespace vintra

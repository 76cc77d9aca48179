#include "Vintra/take/SoundLossText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace vintra {
namespace {

constexpr size_t kMostLoggedPlaces = 100;

std::string formatted(const char* format, double number) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

std::string lengthOf(double seconds) {
    if (seconds >= 0.95) return formatted("%.1f seconds", seconds);
    return formatted("%.0f ms", std::max(1.0, seconds * 1000));
}

std::string subjectOf(const std::string& trackName) {
    if (trackName == "microphone" || trackName == "virtual input") return "The " + trackName;
    if (trackName == "computer audio") return "Computer audio";
    return "The track " + trackName;
}

const char* reasonOf(SoundLossKind kind) {
    switch (kind) {
    case SoundLossKind::beganLate:
        return "nothing came before";
    case SoundLossKind::notDelivered:
        return "not delivered";
    case SoundLossKind::notTaken:
        return "not taken by the writer";
    case SoundLossKind::endedEarly:
        return "nothing came any more";
    }
    return "";
}

std::string clockText(double seconds) {
    const auto whole = static_cast<long>(std::max(0.0, seconds));
    char text[64];
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    return text;
}

} // namespace

std::optional<std::string> soundLossWarning(const std::string& trackName, const SoundAccount& account,
                                            bool isToldAsShort) {
    double seconds = 0;
    size_t places = 0;
    for (const SoundLoss& loss : account.losses) {
        if (isToldAsShort && loss.kind == SoundLossKind::endedEarly) continue;
        seconds += loss.seconds();
        ++places;
    }
    if (places == 0) return std::nullopt;
    return subjectOf(trackName) + " lost " + lengthOf(seconds) + " of sound in " +
           (places == 1 ? "one place" : std::to_string(places) + " places") +
           "; silence was put there so the rest stays in step.";
}

std::string soundLossLog(const std::string& trackName, const SoundAccount& account) {
    std::vector<std::string> parts;
    for (size_t index = 0; index < std::min(account.losses.size(), kMostLoggedPlaces); ++index) {
        const SoundLoss& loss = account.losses[index];
        parts.push_back(formatted("%.3f s lost", loss.seconds()) + formatted(" at %.3f s", loss.atSeconds()) +
                        " (" + reasonOf(loss.kind) + ")");
    }
    if (account.losses.size() > kMostLoggedPlaces) {
        parts.push_back("and " + std::to_string(account.losses.size() - kMostLoggedPlaces) +
                        " more, in all " +
                        formatted("%.3f s", static_cast<double>(account.framesLost()) / kTakeSampleRate));
    }
    if (account.cuts > 0) {
        parts.push_back(std::to_string(account.framesCut) + " frames that came twice were cut in " +
                        std::to_string(account.cuts) + (account.cuts == 1 ? " place" : " places"));
    }
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? trackName + ": " : "; ") + part;
    return text;
}

std::optional<std::string> driftText(const SoundAccount& account) {
    if (!account.drift || !account.firstSamplePTS || !account.lastSamplePTS) return std::nullopt;
    const double length = CMTimeGetSeconds(*account.lastSamplePTS - *account.firstSamplePTS);
    return "drifted " + formatted("%.0f ppm, ", std::fabs(account.drift->partsPerMillion)) +
           formatted("%.0f ms", std::fabs(account.drift->secondsAtEnd) * 1000) + " over " +
           clockText(length) + (account.isDriftCorrected ? ", corrected" : "");
}

} // namespace vintra

#include "Vintra/take/SyncReport.h"

#include "Vintra/audio/CapturePCMSettings.h"

#include <cmath>
#include <cstdio>

namespace vintra {
namespace {

constexpr size_t kMostLossesShown = 8;

template <typename... Values>
std::string formatted(const char* format, Values... values) {
    char text[200];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string lossesText(const SoundAccount& account) {
    if (account.losses.empty()) return " · nothing lost";
    std::string text = formatted(" · lost %zu×, %.3f s:", account.losses.size(),
                                 static_cast<double>(account.framesLost()) / kTakeSampleRate);
    for (size_t index = 0; index < account.losses.size() && index < kMostLossesShown; ++index) {
        const SoundLoss& loss = account.losses[index];
        text += formatted("%s %.3f s at %.3f s (%s)", index > 0 ? "," : "", loss.seconds(), loss.atSeconds(),
                          lossName(loss.kind));
    }
    if (account.losses.size() > kMostLossesShown)
        text += formatted(" and %zu more", account.losses.size() - kMostLossesShown);
    return text;
}

std::string soundText(const SoundAccount& account) {
    std::string text =
        formatted(" · %lld frames own, %lld silence, %lld cut", static_cast<long long>(account.framesWritten),
                  static_cast<long long>(account.framesSilenced), static_cast<long long>(account.framesCut));
    text += lossesText(account);
    if (account.drift) {
        text += formatted(" · drift %+.1f ppm, %+.3f s%s", account.drift->partsPerMillion,
                          account.drift->secondsAtEnd, account.isDriftCorrected ? ", corrected" : "");
    }
    return text;
}

std::string pictureText(const FrameAccount& account) {
    return formatted(" · %lld frames own, %lld copied, %lld unchanged, %lld lost",
                     static_cast<long long>(account.own), static_cast<long long>(account.copied),
                     static_cast<long long>(account.unchanged), static_cast<long long>(account.lost));
}

} // namespace

double startOffset(const SavedFile& file) {
    if (!file.sound || !std::isfinite(file.gap)) return 0;
    const bool isInPlace = file.expectedSeconds && file.seconds && !file.problem;
    const double frames = file.gap * kTakeSampleRate;
    return isInPlace ? (frames - std::round(frames)) / kTakeSampleRate : file.gap;
}

std::string syncLine(const SavedFile& file) {
    const std::string name = file.url.lastPathComponent();
    if (file.problem) return name + ": " + *file.problem;
    std::string text = name + formatted(": starts %+.6f s · ", startOffset(file));
    text += file.seconds ? formatted("%.3f s", *file.seconds) : "no length";
    text += formatted(" · %llu bytes", static_cast<unsigned long long>(file.bytes));
    if (file.sound) text += soundText(*file.sound);
    if (file.frames) text += pictureText(*file.frames);
    return text;
}

const char* lossName(SoundLossKind kind) {
    switch (kind) {
    case SoundLossKind::beganLate:
        return "late";
    case SoundLossKind::notDelivered:
        return "not delivered";
    case SoundLossKind::notTaken:
        return "not taken";
    case SoundLossKind::endedEarly:
        return "ended early";
    }
    return "";
}

} // namespace vintra

#include "Vintra/audio/SoundPlacement.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr double kLongestOverlap = 1.0 * kTakeSampleRate;
constexpr double kLongestSoundGap = 24.0 * 60 * 60 * kTakeSampleRate;
constexpr double kFollowing = 1.0 / 64;
constexpr double kFastestDrift = 500e-6;
/// The stamps behind a gap may begin with one that is late, which says nothing of the clock.
constexpr int64_t kFramesToSettle = static_cast<int64_t>(kTakeSampleRate);
/// A run that is shorter says nothing of its clock: the stamps jitter by more.
constexpr int64_t kShortestFittedRun = 10 * static_cast<int64_t>(kTakeSampleRate);

} // namespace

void SoundPlacement::Fit::add(double at, double difference) {
    count += 1;
    x += at;
    y += difference;
    xx += at * at;
    xy += at * difference;
}

double SoundPlacement::Fit::spread() const {
    return count > 0 ? xx - x * x / count : 0;
}

double SoundPlacement::Fit::covariance() const {
    return count > 0 ? xy - x * y / count : 0;
}

SoundPlacement::Place SoundPlacement::begin(double position, int64_t frames) {
    const int64_t at = std::isfinite(position) ? std::llround(position) : 0;
    if (at < 0 && -at >= frames) {
        hasSeenEarlySound = true;
        return {.silence = 0, .cut = frames};
    }
    const int64_t cut = std::max<int64_t>(0, -at);
    const bool isInline = hasSeenEarlySound || !(position / kTakeSampleRate > kLongestInlineStart);
    begun = true;
    next_ = at + cut;
    origin_ = isInline ? 0 : next_;
    offset = std::isfinite(position) ? position - static_cast<double>(at) : 0;
    follow(static_cast<double>(at) + offset, frames, cut, true);
    return {.silence = next_ - (frames - cut) - origin_, .cut = cut};
}

SoundPlacement::Place SoundPlacement::place(double seconds, int64_t frames) {
    double position = seconds * kTakeSampleRate;
    if (!begun) return begin(position, frames);
    if (!std::isfinite(position)) position = static_cast<double>(next_) + offset;
    const double difference = position - (static_cast<double>(next_) + offset);
    if (difference <= -kLongestOverlap || difference >= kLongestSoundGap) {
        offset += difference;
        follow(position, frames, 0, true);
        return {};
    }
    Place place;
    // What comes behind an overlap has its place to the frame, however near that is.
    const double threshold = isInOverlap ? 0.5 : static_cast<double>(kGapFrames);
    if (difference >= threshold) place.silence = std::llround(difference);
    if (difference <= -threshold)
        place.cut = std::min(frames, static_cast<int64_t>(std::llround(-difference)));
    isInOverlap = place.cut == frames;
    if (isInOverlap) return place;
    const bool isNewRun = place.silence > 0 || place.cut > 0;
    if (isNewRun) {
        next_ += place.silence;
        offset = position + static_cast<double>(place.cut) - static_cast<double>(next_);
    } else if (runs.back().frames >= kFramesToSettle) {
        const double limit = static_cast<double>(frames) * kFastestDrift;
        offset += std::clamp(difference * kFollowing, -limit, limit);
    }
    follow(position, frames, place.cut, isNewRun);
    return place;
}

/// Takes note of a buffer whose frames from the cut on are written at `next_`.
void SoundPlacement::follow(double position, int64_t frames, int64_t cut, bool isNewRun) {
    if (isNewRun) runs.push_back({.at = next_, .frames = 0, .fit = {}});
    Counted& run = runs.back();
    run.fit.add(static_cast<double>(next_ - run.at),
                position + static_cast<double>(cut) - static_cast<double>(next_));
    run.frames += frames - cut;
    next_ += frames - cut;
}

/// Frames that the stamps move away from the counted ones for each counted one; 0 where no run is long
/// enough to say. The runs share the slope but each has its own height, so no gap goes into it.
double SoundPlacement::slope() const {
    double spread = 0;
    double covariance = 0;
    for (const Counted& run : runs) {
        if (run.frames < kShortestFittedRun) continue;
        spread += run.fit.spread();
        covariance += run.fit.covariance();
    }
    return spread > 0 ? covariance / spread : 0;
}

std::optional<SoundDrift> SoundPlacement::drift() const {
    if (!begun || next_ - origin_ < kShortestFittedRun) return std::nullopt;
    return SoundDrift{.partsPerMillion = (1 / (1 + slope()) - 1) * 1e6,
                      .secondsAtEnd = -offset / kTakeSampleRate};
}

SoundPlacement::Retiming SoundPlacement::retiming() const {
    Retiming result;
    const double gradient = slope();
    result.stretch = 1 + gradient;
    for (const Counted& run : runs) {
        const double mean = run.fit.y / run.fit.count;
        const double middle = run.fit.x / run.fit.count;
        result.runs.push_back({.at = run.at,
                               .frames = run.frames,
                               .target = static_cast<double>(run.at) + mean - gradient * middle});
    }
    return result;
}

} // namespace vintra

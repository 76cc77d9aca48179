#include "Vintra/video/PictureWatch.h"

#include <cstddef>
#include <utility>

namespace vintra {
namespace {

constexpr double kStillSeconds = 2.0;
constexpr size_t kSampledRows = 18;
constexpr size_t kSampledPositions = 32;
constexpr uint64_t kFNVOffsetBasis = 0xcbf29ce484222325;
constexpr uint64_t kFNVPrime = 0x100000001b3;

std::vector<PictureWatch::Stretch> merged(const std::vector<PictureWatch::Stretch>& stretches) {
    std::vector<PictureWatch::Stretch> result;
    for (const auto& stretch : stretches) {
        if (!result.empty() && result.back().to && stretch.from - *result.back().to < kStillSeconds) {
            result.back().to = stretch.to;
        } else {
            result.push_back(stretch);
        }
    }
    return result;
}

} // namespace

void PictureWatch::begin(CMTime at) {
    MutexLock guard(lock);
    start = at;
    lastFingerprint.reset();
    lastChange = 0;
    lastFrame.reset();
    stretches.clear();
}

void PictureWatch::record(const CMSampleBuffer& sample) {
    const CMTime pts = sample.presentationTimeStamp();
    const auto image = sample.imageBuffer();
    const auto current = image ? fingerprint(*image) : std::nullopt;
    MutexLock guard(lock);
    if (!start.isValid() || !pts.isNumeric()) return;
    const double t = CMTimeGetSeconds(pts - start);
    lastFrame = t;
    // A picture that can't be read counts as a change: it is better to miss a frozen camera than to report
    // a live one.
    if (current && lastFingerprint && *current == *lastFingerprint) return;
    lastFingerprint = current;
    if (t - lastChange >= kStillSeconds) stretches.push_back({lastChange, t});
    lastChange = t;
}

std::optional<PictureWatch::Stall> PictureWatch::stall(CMTime now) const {
    MutexLock guard(lock);
    if (!start.isValid()) return std::nullopt;
    const double t = CMTimeGetSeconds(now - start);
    if (!(t - lastChange >= kStillSeconds)) return std::nullopt;
    if (!lastFrame) return NothingYet{};
    if (t - *lastFrame >= kStillSeconds) return Stopped{*lastFrame};
    return Frozen{lastChange};
}

PictureWatch::Account PictureWatch::take(CMTime endingAt) {
    Account account;
    std::vector<Stretch> all;
    {
        MutexLock guard(lock);
        all = std::exchange(stretches, {});
        if (start.isValid()) {
            const double t = CMTimeGetSeconds(endingAt - start);
            if (lastFrame && t - *lastFrame >= kStillSeconds) account.stoppedAt = lastFrame;
            const double tail = account.stoppedAt.value_or(t) - lastChange;
            if (tail >= kStillSeconds) all.push_back({lastChange, account.stoppedAt});
        }
        start = kCMTimeInvalid;
    }
    account.frozen = merged(all);
    return account;
}

std::optional<uint64_t> PictureWatch::fingerprint(const CVPixelBuffer& of) {
    if (of.planeCount() == 0) return std::nullopt;
    const CVPixelBuffer::Plane& plane = of.plane(0);
    const size_t width = of.isPlanar() ? plane.width : of.width();
    const size_t height = of.isPlanar() ? plane.height : of.height();
    if (!plane.baseAddress || width < 1 || height < 1 || plane.bytesPerRow < width) return std::nullopt;
    // The part of a row that holds picture, in bytes.
    const size_t usable = width * (plane.bytesPerRow / width);
    uint64_t hash = kFNVOffsetBasis;
    for (size_t i = 0; i < kSampledRows; ++i) {
        const uint8_t* row =
            plane.baseAddress + (2 * i + 1) * height / (2 * kSampledRows) * plane.bytesPerRow;
        for (size_t j = 1; j < 2 * kSampledPositions; j += 2) {
            hash = (hash ^ row[j * usable / (2 * kSampledPositions)]) * kFNVPrime;
        }
    }
    return hash;
}

} // namespace vintra

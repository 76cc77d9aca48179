#pragma once

#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/Mutex.h"

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace vintra {

/// Notices that a camera's picture stands still or has stopped. A live camera never repeats itself to the
/// byte, since its sensor's noise changes the samples; so a picture counts as frozen only while all sampled
/// bytes stay the same, for 2 seconds or longer.
///
/// One per camera. `record` runs on the camera's sample queue, the rest on the main thread; has a lock of its
/// own, and the hash is made outside it. All times are in seconds since the take's start.
class PictureWatch {
public:
    struct Frozen {
        double since = 0;
        bool operator==(const Frozen&) const = default;
    };
    struct Stopped {
        double at = 0;
        bool operator==(const Stopped&) const = default;
    };
    struct NothingYet {
        bool operator==(const NothingYet&) const = default;
    };
    using Stall = std::variant<Frozen, Stopped, NothingYet>;

    struct Stretch {
        double from = 0;
        std::optional<double> to; ///< none for a picture that was still frozen when the take ended
        bool operator==(const Stretch&) const = default;
    };
    struct Account {
        std::vector<Stretch> frozen;
        std::optional<double> stoppedAt;
    };

    void begin(CMTime at);
    /// Ignored outside a take.
    void record(const CMSampleBuffer& sample);
    /// How the picture has stood still for the last 2 seconds before `now`; none if it hasn't, or outside a
    /// take.
    std::optional<Stall> stall(CMTime now) const;
    /// All that stood still in the take, stretches less than 2 seconds apart told as one; ends the watch.
    Account take(CMTime endingAt);

    /// A hash of 576 bytes of the picture, however large it is: 32 from each of 18 rows of the first plane.
    /// None if the pixels can't be read.
    static std::optional<uint64_t> fingerprint(const CVPixelBuffer& of);

private:
    mutable Mutex lock;
    CMTime start GUARDED_BY(lock); ///< invalid when idle
    /// Of the last frame.
    std::optional<uint64_t> lastFingerprint GUARDED_BY(lock);
    /// When a frame last differed from the one before.
    double lastChange GUARDED_BY(lock) = 0;
    std::optional<double> lastFrame GUARDED_BY(lock);
    std::vector<Stretch> stretches GUARDED_BY(lock);
};

} // namespace vintra

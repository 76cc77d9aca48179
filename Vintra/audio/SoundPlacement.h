#pragma once

#include "Vintra/audio/SoundAccount.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vintra {

/// Decides where in a track's file each buffer belongs.
///
/// Goal: every frame of sound stands where its stamp says, counted from the common start. Constraint: stamps
/// of single buffers jitter, and a device's clock drifts against the host's by up to some hundred millionths,
/// so most buffers have to follow one another whatever their stamps say to the frame.
/// Method: a buffer is expected where the one before ended. How far the stamps have moved away from the
/// counted frames by drift is followed slowly, from a second behind the last gap on, by a 64th of the
/// difference and by no more than 500 millionths of the buffer's length. A difference of 2 ms or more to that
/// is no jitter: sound is missing, and silence is owed up to the stamp, or it came twice and is cut off. So
/// errors of single stamps never add up: each buffer is judged by its own stamp. An overlap of over a second,
/// or a gap of over a day, isn't one of sound but a clock that was set anew: the buffer then follows the one
/// before.
///
/// A plain value of the track's queue; counts in frames of the take's rate.
class SoundPlacement {
public:
    struct Place {
        int64_t silence = 0; ///< frames to be put before the buffer
        int64_t cut = 0;     ///< frames to be taken off its front; all of them leave nothing to write
    };
    /// Where an unbroken run of sound stands in the file, and where it should.
    struct Run {
        int64_t at = 0; ///< in the file, frames from the common start
        int64_t frames = 0;
        double target = 0; ///< by the stamps of all its buffers
    };
    /// How the file is to be rearranged so that each frame is at its stamp.
    struct Retiming {
        std::vector<Run> runs;
        double stretch = 1; ///< frames that a run has afterwards, for each that it has now
    };

    /// For a buffer that begins `seconds` after the common start; NaN for one without a time.
    Place place(double seconds, int64_t frames);

    bool hasBegun() const { return begun; }
    /// Where the file begins: up to there its silence is put in after it is closed. Once begun.
    int64_t origin() const { return origin_; }
    /// Where the next frame goes.
    int64_t next() const { return next_; }
    /// Nothing in the first ten seconds of sound.
    std::optional<SoundDrift> drift() const;
    Retiming retiming() const;

    static constexpr int64_t kGapFrames = 96; ///< 2 ms
    /// A file's first buffer that begins within this isn't given its silence after the take.
    static constexpr double kLongestInlineStart = 0.01;

private:
    /// The line through the differences between stamps and frames, by sums.
    struct Fit {
        double count = 0, x = 0, y = 0, xx = 0, xy = 0;
        void add(double at, double difference);
        double spread() const;
        double covariance() const;
    };
    struct Counted {
        int64_t at = 0;
        int64_t frames = 0;
        Fit fit;
    };

    Place begin(double position, int64_t frames);
    void follow(double position, int64_t frames, int64_t cut, bool isNewRun);
    double slope() const;

    bool begun = false;
    bool hasSeenEarlySound = false;
    bool isInOverlap = false; ///< the buffer before was cut off whole
    int64_t origin_ = 0;
    int64_t next_ = 0;
    double offset = 0; ///< frames by which the stamps are ahead of the counted ones, followed slowly
    std::vector<Counted> runs;
};

} // namespace vintra

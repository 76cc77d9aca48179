#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/movie/MovieTrack.h"
#include "Vintra/platform/linux/movie/QuickTimeFile.h"
#include "Vintra/platform/linux/movie/VideoEncoder.h"

#include <memory>
#include <optional>

namespace vintra {

/// The time scale at which every time of a picture track is exact: the least common multiple of 600 and the
/// denominators of the first picture's time after the session's start and of its duration. A grid of phase
/// k/600 s and slots of 1/n s thus has no rounding, however long the take. Denominators that would make it
/// larger than a million are left out; times are then rounded to the nearest tick.
int32_t movieTimescale(CMTime firstTime, CMTime duration);

/// The pictures of a movie. The first one tells the rate; an encoder that was made for another, or none, gives way to a
/// new one then.
///
/// Goal: a track of constant rate, though the samples leave slots empty where nothing is new. Method: a sample
/// that stands a whole number of slots after the one before, and what is told to stand on, are led up to by
/// repetitions of that picture, one a slot; they take a few bytes each. Times that are on no grid stay as they
/// are.
class MovieVideoTrack final : public MovieTrack {
public:
    /// An encoder for a track whose pictures come at the expected rate, its memory at hand; null where the rate isn't
    /// known. Any thread. Throws `SystemError`.
    static std::unique_ptr<VideoEncoder> makeEncoder(const AVVideoSettings& settings);
    /// The movie outlives the track. An encoder made before, or null, is used if the pictures come as expected.
    MovieVideoTrack(QuickTimeFile& movie, const AVVideoSettings& settings,
                    std::unique_ptr<VideoEncoder> encoder);
    void write(const CMSampleBuffer& sample, CMTime sessionStart) override;
    void extend(CMTime to, CMTime sessionStart) override;
    void finish() override;

private:
    void begin(CMTime firstTime, CMTime duration);
    /// Repeats the picture written last in every slot that ends by then, in ticks.
    void repeatUntil(int64_t time);

    QuickTimeFile& movie;
    const AVVideoSettings settings;
    const size_t track;
    int32_t timescale = 0;
    int64_t slotDuration = 1;              ///< ticks
    std::unique_ptr<VideoEncoder> encoder; ///< described in the movie once `timescale` is known
    std::optional<int64_t> lastTime;
};

} // namespace vintra

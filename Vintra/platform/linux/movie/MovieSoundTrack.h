#pragma once

#include "Vintra/platform/linux/movie/MovieTrack.h"
#include "Vintra/platform/linux/movie/QuickTimeFile.h"
#include "Vintra/platform/linux/movie/SoundConverter.h"
#include "Vintra/platform/linux/movie/SoundEncoder.h"

#include <optional>

namespace vintra {

/// A sound track of a movie, kept in time with the pictures: it begins at its first buffer's time, and where
/// the buffers' times have moved away from the frames counted by more than 20 ms (a lost buffer, a clock that
/// drifts) silence is put in or frames are left out. Below that, times only jitter and nothing is done.
class MovieSoundTrack final : public MovieTrack {
public:
    /// The movie outlives the track.
    MovieSoundTrack(QuickTimeFile& movie, const AVAudioSettings& settings);
    void write(const CMSampleBuffer& sample, CMTime sessionStart) override;
    void extend(CMTime, CMTime) override {} // a sound doesn't stand
    void finish() override;

private:
    int64_t framePosition(const CMSampleBuffer& sample, int64_t skippedFrames, CMTime sessionStart) const;
    void take(std::vector<uint8_t> packet);

    QuickTimeFile& movie;
    const AVAudioSettings settings;
    const size_t track;
    SoundConverter converter;
    SoundEncoder encoder;
    std::optional<int64_t> firstFrame; ///< of the track, counted from the movie's zero
    int64_t packets = 0;
};

} // namespace vintra

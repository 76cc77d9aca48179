#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/movie/MediaFile.h"
#include "Vintra/platform/linux/movie/MovieTrack.h"
#include "Vintra/platform/linux/movie/QuickTimeFile.h"
#include "Vintra/platform/linux/movie/VideoEncoder.h"

#include <memory>
#include <vector>

namespace vintra {

/// A QuickTime movie with H.264 or HEVC pictures and any number of AAC sounds, each track encoded on the
/// writer's thread in the order in which the samples came.
class MovieFile final : public MediaFile {
public:
    static bool canWrite(const AVOutputSettings& settings);
    /// An encoder for each picture track whose rate is known, in the order of the tracks and null for the others, warm
    /// for its first picture. Takes a fraction of a second; any thread. Throws `SystemError`.
    static std::vector<std::unique_ptr<VideoEncoder>>
    makeEncoders(const std::vector<AVOutputSettings>& tracks);
    /// `encoders` are those of the first tracks; none need be there. Throws `SystemError`.
    static std::unique_ptr<MovieFile> create(const URL& url, const std::vector<AVOutputSettings>& tracks,
                                             std::vector<std::unique_ptr<VideoEncoder>> encoders);

    void write(size_t track, const CMSampleBuffer& sample, CMTime sessionStart) override;
    void extend(size_t track, CMTime to, CMTime sessionStart) override;
    void keep() noexcept override { movie.keep(); }
    void finish() override;
    void abandon() noexcept override;

private:
    explicit MovieFile(OutputFile file);
    void addTrack(const AVOutputSettings& settings, std::unique_ptr<VideoEncoder> encoder);
    QuickTimeFile movie;
    std::vector<std::unique_ptr<MovieTrack>> tracks;
};

} // namespace vintra

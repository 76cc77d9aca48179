#include "Vintra/platform/linux/movie/MovieFile.h"

#include "Vintra/platform/linux/movie/MovieSoundTrack.h"
#include "Vintra/platform/linux/movie/MovieVideoTrack.h"

#include <utility>

namespace vintra {
namespace {

constexpr int32_t kLargestSide = 16'384; // pixels: H.264's and libx265's limit

bool isUsableSide(int32_t side) {
    return side >= 2 && side <= kLargestSide && side % 2 == 0;
}

} // namespace

bool MovieFile::canWrite(const AVOutputSettings& settings) {
    if (const auto* video = std::get_if<AVVideoSettings>(&settings))
        return isUsableSide(video->width) && isUsableSide(video->height) && video->averageBitRate > 0;
    return SoundEncoder::canEncode(std::get<AVAudioSettings>(settings));
}

std::vector<std::unique_ptr<VideoEncoder>>
MovieFile::makeEncoders(const std::vector<AVOutputSettings>& tracks) {
    std::vector<std::unique_ptr<VideoEncoder>> encoders;
    for (const AVOutputSettings& settings : tracks) {
        const auto* video = std::get_if<AVVideoSettings>(&settings);
        encoders.push_back(video ? MovieVideoTrack::makeEncoder(*video) : nullptr);
    }
    return encoders;
}

std::unique_ptr<MovieFile> MovieFile::create(const URL& url, const std::vector<AVOutputSettings>& tracks,
                                             std::vector<std::unique_ptr<VideoEncoder>> encoders) {
    std::unique_ptr<MovieFile> file(new MovieFile(OutputFile::create(url)));
    encoders.resize(tracks.size());
    for (size_t index = 0; index < tracks.size(); ++index)
        file->addTrack(tracks[index], std::move(encoders[index]));
    return file;
}

MovieFile::MovieFile(OutputFile file)
    : movie(std::move(file)) {}

void MovieFile::addTrack(const AVOutputSettings& settings, std::unique_ptr<VideoEncoder> encoder) {
    if (const auto* video = std::get_if<AVVideoSettings>(&settings))
        tracks.push_back(std::make_unique<MovieVideoTrack>(movie, *video, std::move(encoder)));
    else
        tracks.push_back(std::make_unique<MovieSoundTrack>(movie, std::get<AVAudioSettings>(settings)));
}

void MovieFile::write(size_t track, const CMSampleBuffer& sample, CMTime sessionStart) {
    tracks[track]->write(sample, sessionStart);
}

void MovieFile::extend(size_t track, CMTime to, CMTime sessionStart) {
    tracks[track]->extend(to, sessionStart);
}

void MovieFile::finish() {
    for (const auto& track : tracks)
        track->finish();
    movie.finish();
}

void MovieFile::abandon() noexcept {
    movie.abandon();
}

} // namespace vintra

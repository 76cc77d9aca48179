#pragma once

#include "Vintra/timeline/Take.h"

#include <string>
#include <vector>

namespace vintra::TimelineFile {

// Takes by hand, without files: what probing would have found is given.

const CMTime kTenSeconds = CMTimeMake(10, 1);

/// A picture file that lasts `duration`, its picture as long.
Media pictureMedia(const URL& url, CMTime duration, Rate rate, int64_t width, int64_t height,
                   std::vector<int64_t> soundTracks = {});
Media soundMedia(const URL& url, CMTime duration, std::vector<int64_t> soundTracks,
                 int64_t sampleRate = 48000);

Rate rateNamed(const std::string& suffix);

/// A take that is put together file by file. The file names are the take's name and what is given.
class TakeBuilder {
public:
    TakeBuilder(const std::string& name, const std::string& folder);
    URL url(const std::string& rest) const;
    TakeBuilder& screen(const Media& media);
    TakeBuilder& camera(const Media& media);
    TakeBuilder& sound(const Media& media);

    TakeFiles files;
    std::map<URL, Media> media;

    Take take() const { return makeTake(files, media); }
};

/// One screen, two cameras at other rates, three sounds with a copy of each in the screen movie, four
/// markers.
Take fullTake();
/// A screen at 29.97 with one sound inside, a stereo sound file, one marker.
Take pairTake();
/// A mono microphone alone, one marker.
Take voiceTake();
/// A 3840x2160 screen at 23.976 alone.
Take pictureTake();

} // namespace vintra::TimelineFile

#include "Vintra/timeline/PremiereSound.h"

#include <algorithm>
#include <utility>

namespace vintra::TimelineFile {
namespace {

void addSoundFile(std::vector<PremiereSound>& sounds, const Take& take, const Media& media) {
    const int64_t total = media.channels();
    for (int64_t channel = 1; channel <= std::max<int64_t>(total, 1); ++channel) {
        PremiereSound sound{&media, channel, take.files.trackName(media.url), true};
        if (total == 2) sound.stereoHalf = channel - 1;
        if (total > 1) sound.group = media.url.path();
        sounds.push_back(std::move(sound));
    }
}

void addPictureFile(std::vector<PremiereSound>& sounds, const Take& take, const Media& media) {
    const std::vector<std::string> labels = take.labels(media);
    const size_t count = std::min(labels.size(), media.soundTracks.size());
    int64_t channel = 0;
    for (size_t track = 0; track < count; ++track) {
        const std::string name =
            take.files.trackName(media.url) + " · " + labels[track] + " (sync reference)";
        for (int64_t left = media.soundTracks[track]; left > 0; --left) {
            PremiereSound sound{&media, ++channel, name, false};
            sound.group = media.url.path();
            sounds.push_back(std::move(sound));
        }
    }
}

} // namespace

std::vector<PremiereSound> premiereSounds(const Take& take) {
    std::vector<PremiereSound> sounds;
    for (const Media& media : take.sounds)
        addSoundFile(sounds, take, media);
    if (take.screen) addPictureFile(sounds, take, *take.screen);
    for (const Media& media : take.cameras)
        addPictureFile(sounds, take, media);
    return sounds;
}

} // namespace vintra::TimelineFile

#include "TimelineFixtures.h"

#include <utility>

namespace vintra::TimelineFile {

Media pictureMedia(const URL& url, CMTime duration, Rate rate, int64_t width, int64_t height,
                   std::vector<int64_t> soundTracks) {
    Media media;
    media.url = url;
    media.duration = duration;
    media.pictureDuration = duration;
    media.width = width;
    media.height = height;
    media.rate = rate;
    media.soundTracks = std::move(soundTracks);
    return media;
}

Media soundMedia(const URL& url, CMTime duration, std::vector<int64_t> soundTracks, int64_t sampleRate) {
    Media media;
    media.url = url;
    media.duration = duration;
    media.soundTracks = std::move(soundTracks);
    media.sampleRate = sampleRate;
    return media;
}

Rate rateNamed(const std::string& suffix) {
    for (const Rate& rate : kRates)
        if (rate.suffix == suffix) return rate;
    return {};
}

TakeBuilder::TakeBuilder(const std::string& name, const std::string& folder) {
    files.take = name;
    files.folder = URL::fileURL(folder);
}

URL TakeBuilder::url(const std::string& rest) const {
    return files.folder.appendingPathComponent(files.take + rest);
}

TakeBuilder& TakeBuilder::screen(const Media& picture) {
    files.screen = picture.url;
    media[picture.url] = picture;
    return *this;
}

TakeBuilder& TakeBuilder::camera(const Media& picture) {
    files.cameras.push_back(picture.url);
    media[picture.url] = picture;
    return *this;
}

TakeBuilder& TakeBuilder::sound(const Media& soundFile) {
    files.sounds.push_back(soundFile.url);
    media[soundFile.url] = soundFile;
    return *this;
}

Take fullTake() {
    TakeBuilder builder("Q&A \"one\"", "/Movies/Tom & Jo; 100%");
    Media screen = pictureMedia(builder.url("_video.mov"), CMTimeMake(6000, 600), rateNamed("30"), 1920, 1080,
                                {1, 2, 1});
    screen.pictureDuration = CMTimeMake(5980, 600); // 299 frames
    Media webcam =
        pictureMedia(builder.url("_webcam.mov"), CMTimeMake(5967, 600), rateNamed("2997"), 1280, 720, {1});
    webcam.pictureDuration = CMTimeMake(298'298, 30'000); // 298 frames of its own, 298.298 of the timeline
    builder.screen(screen).camera(webcam).camera(
        pictureMedia(builder.url("_webcam-2.mov"), CMTimeMake(250, 25), rateNamed("25"), 1600, 1200));
    builder.sound(soundMedia(builder.url("_mic.wav"), CMTimeMake(480'000, 48'000), {1}));
    builder.sound(soundMedia(builder.url("_computer-audio.wav"), CMTimeMake(480'123, 48'000), {2}));
    builder.sound(soundMedia(builder.url("_Desk-Mixer.wav"), CMTimeMake(441'441, 44'100), {4}, 44'100));
    builder.files.cameraSound = builder.url("_mic.wav");
    builder.files.markers = {1.0, 0.5, -2.0, 99.0};
    return builder.take();
}

Take pairTake() {
    TakeBuilder builder("demo", "/Takes/demo folder");
    builder.screen(pictureMedia(builder.url("_video.mov"), CMTimeMake(90'090, 30'000), rateNamed("2997"),
                                2560, 1440, {1}));
    builder.sound(soundMedia(builder.url("_computer-audio.wav"), CMTimeMake(192'000, 48'000), {2}));
    builder.files.markers = {1.5};
    return builder.take();
}

Take voiceTake() {
    TakeBuilder builder("voice", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), CMTimeMake(240'000, 48'000), {1}));
    builder.files.markers = {2.5};
    return builder.take();
}

Take pictureTake() {
    TakeBuilder builder("film", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), CMTimeMake(1'235'234, 24'000), rateNamed("2398"),
                                3840, 2160));
    return builder.take();
}

} // namespace vintra::TimelineFile

#include "Vintra/take/SyncReport.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

SavedFile sound() {
    SavedFile file;
    file.label = "mic track";
    file.planned = file.url = URL::fileURL("/films/a_mic.wav");
    file.sound.emplace();
    file.sound->framesWritten = 140'000;
    file.sound->framesSilenced = 3'000;
    file.sound->framesCut = 48;
    file.gap = 0.0200104; // 960.5 frames and a bit less
    file.expectedSeconds = 3;
    file.seconds = 3;
    file.bytes = 432'044;
    return file;
}

TEST(SyncReportTest, aFileInItsPlaceStartsWithinHalfAFrameOfTheCommonStart) {
    EXPECT_NEAR(startOffset(sound()), 0.0200104 - 960.0 / 48'000, 1e-9);
    SavedFile early = sound();
    early.gap = -0.004;
    EXPECT_NEAR(startOffset(early), 0, 1e-9) << "what came before the common start was cut off";
}

TEST(SyncReportTest, aFileThatCouldNotBePutInItsPlaceStartsWhereItsDeviceDid) {
    SavedFile file = sound();
    file.problem = "the file is 2.9 s long, not 3.0 s";
    EXPECT_EQ(startOffset(file), 0.0200104);
    EXPECT_EQ(syncLine(file), "a_mic.wav: the file is 2.9 s long, not 3.0 s");
}

TEST(SyncReportTest, everyLossIsANumber) {
    SavedFile file = sound();
    EXPECT_EQ(syncLine(file),
              "a_mic.wav: starts +0.000010 s · 3.000 s · 432044 bytes · 140000 frames own, 3000 silence, "
              "48 cut · nothing lost");
    file.sound->losses = {{.at = 48'000, .frames = 2'400, .kind = SoundLossKind::notDelivered},
                          {.at = 96'000, .frames = 600, .kind = SoundLossKind::notTaken}};
    file.sound->drift = SoundDrift{.partsPerMillion = -36.96, .secondsAtEnd = -0.2661};
    file.sound->isDriftCorrected = true;
    EXPECT_EQ(
        syncLine(file),
        "a_mic.wav: starts +0.000010 s · 3.000 s · 432044 bytes · 140000 frames own, 3000 silence, 48 cut · lost 2×, "
        "0.062 s: 0.050 s at 1.000 s (not delivered), 0.013 s at 2.000 s (not taken) · drift -37.0 ppm, -0.266 s, "
        "corrected");
    file.sound->losses.assign(11, {.at = 0, .frames = 48, .kind = SoundLossKind::beganLate});
    EXPECT_NE(syncLine(file).find("(late) and 3 more"), std::string::npos);
}

TEST(SyncReportTest, aMoviesFramesAreToldByKind) {
    SavedFile movie;
    movie.url = URL::fileURL("/films/a_video.mov");
    movie.isMovie = true;
    movie.seconds = 5;
    movie.bytes = 1000;
    movie.frames = FrameAccount{.first = 2, .own = 88, .copied = 2, .unchanged = 57, .lost = 3};
    EXPECT_EQ(syncLine(movie),
              "a_video.mov: starts +0.000000 s · 5.000 s · 1000 bytes · 88 frames own, 2 copied, "
              "57 unchanged, 3 lost");
}

TEST(SyncReportTest, aMovieIsToldByItsLength) {
    SavedFile movie;
    movie.url = URL::fileURL("/films/a_video.mov");
    movie.isMovie = true;
    movie.seconds = 2.5;
    movie.bytes = 1000;
    EXPECT_EQ(syncLine(movie), "a_video.mov: starts +0.000000 s · 2.500 s · 1000 bytes");
    movie.seconds.reset();
    EXPECT_EQ(syncLine(movie), "a_video.mov: starts +0.000000 s · no length · 1000 bytes");
}

} // namespace
} // namespace vintra

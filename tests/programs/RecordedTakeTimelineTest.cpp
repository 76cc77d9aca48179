#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "Vintra/timeline/TimelineFile.h"
#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/ProgramRun.h"

#include <filesystem>

namespace vintra {
namespace {

/// Files that the recorder's own writers have written, and their timeline, on real threads.
class RecordedTakeTimelineTest : public WriterFixture {
protected:
    RecordedTakeTimelineTest() {
        platform.mainThread = mainThread;
        platform.dispatchQueues = std::make_shared<LinuxDispatchQueues>();
        platform.fileManager = std::make_shared<LinuxFileManager>();
        platform.assetProbing = std::make_shared<LinuxAssetProbing>();
        platform.log = std::make_shared<LinuxLog>(LogLevel::error);
        files.take = "take";
        files.folder = folder.url();
    }

    /// `frames` pictures from 7/600 s on, with a second of sound from the start.
    URL recordMovie(const std::string& name, int32_t rate, int64_t frames) {
        const auto open = beginMovie(name, {pictures(64, 48, 200'000), aac(2)});
        const auto image = solid(64, 48, 200, 100, 50);
        for (int64_t slot = 0; slot < frames; ++slot) {
            const CMTime time = start + CMTimeMake(7, 600) + CMTimeMake(slot, rate);
            EXPECT_TRUE(appendWhenReady(*open.inputs[0], *open.writer, picture(image, time, rate)));
        }
        EXPECT_TRUE(
            appendWhenReady(*open.inputs[1], *open.writer, sound(std::vector<float>(96'000), 2, start)));
        EXPECT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
        return folder.file(name);
    }

    URL recordWave(const std::string& name, uint32_t channels, size_t frames) {
        const auto open = beginWave(name, channels);
        EXPECT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                    sound(std::vector<float>(frames * channels), channels, start)));
        EXPECT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
        return folder.file(name);
    }

    static double ffprobeSeconds(const URL& url) {
        return std::stod(runProgram({"ffprobe", "-v", "error", "-of", "csv=p=0", "-show_entries",
                                     "format=duration", url.path()})
                             .output);
    }

    std::optional<TimelineFile::Media> probe(const URL& url) {
        return TimelineFile::Media::probe(url, *platform.assetProbing);
    }

    /// The outcome of a write that is awaited on the main thread; the error's sentence where it fails.
    std::string write(TimelineEditor editor) {
        std::string outcome;
        const auto writing = [](TakeFiles some, TimelineEditor forEditor, Platform with,
                                std::string* into) -> Task<void> {
            try {
                const auto url = co_await TimelineFile::write(some, forEditor, with);
                *into = url ? url->path() : "nothing";
            } catch (const SystemError& error) {
                *into = TimelineFile::couldNotBeSaved(forEditor, error);
            }
        };
        TaskScope scope;
        scope.start(writing(files, editor, platform, &outcome));
        EXPECT_TRUE(mainThread->runUntil([&] { return scope.isIdle(); }, 60'000'000'000));
        return outcome;
    }

    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    Platform platform;
    TakeFiles files;
};

TEST_F(RecordedTakeTimelineTest, moviesProbeToWhatWasRecorded) {
    const struct {
        int32_t rate;
        int64_t frames;
        const char* suffix;
    } cases[] = {{24, 50, "24"}, {30, 91, "30"}, {60, 121, "60"}};
    for (const auto& [rate, frames, suffix] : cases) {
        const URL url = recordMovie("take" + std::to_string(rate) + "_video.mov", rate, frames);
        const auto media = probe(url);
        ASSERT_TRUE(media) << rate;
        EXPECT_EQ(*media->pictureDuration, CMTimeMake(7, 600) + CMTimeMake(frames, rate)) << rate;
        EXPECT_STREQ(media->rate->suffix, suffix);
        EXPECT_EQ(media->width, 64);
        EXPECT_EQ(media->height, 48);
        EXPECT_EQ(media->soundTracks, std::vector<int64_t>{2});
        EXPECT_EQ(media->sampleRate, 48'000);
        EXPECT_NEAR(CMTimeGetSeconds(media->duration), ffprobeSeconds(url), 0.001) << rate;
    }
}

TEST_F(RecordedTakeTimelineTest, wavesProbeToWhatWasRecorded) {
    for (const size_t frames : {1u, 47'999u, 123'457u}) {
        const URL url = recordWave("take" + std::to_string(frames) + "_mic.wav", 1, frames);
        const auto media = probe(url);
        ASSERT_TRUE(media) << frames;
        EXPECT_EQ(media->duration, CMTimeMake(static_cast<int64_t>(frames), 48'000));
        EXPECT_EQ(media->soundTracks, std::vector<int64_t>{1});
        EXPECT_NEAR(CMTimeGetSeconds(media->duration), ffprobeSeconds(url), 1e-6);
    }
}

TEST_F(RecordedTakeTimelineTest, aTakeGetsItsDocumentThroughLinks) {
    std::filesystem::create_directory(folder.file("real").path());
    std::filesystem::create_directory_symlink(folder.file("real").path(), folder.file("link").path());
    files.folder = folder.file("link");
    files.screen = recordMovie("real/take_video.mov", 30, 60);
    files.screen = folder.file("link/take_video.mov");
    recordWave("real/take_mic.wav", 1, 96'000);
    files.sounds = {folder.file("link/take_mic.wav")};
    EXPECT_EQ(write(TimelineEditor::finalCut), folder.file("link/take.fcpxml").path());
    const std::string text = folder.read("real/take.fcpxml");
    const URL resolved = platform.fileManager->resolvingSymlinks(folder.file("link/take_mic.wav"));
    EXPECT_EQ(resolved.deletingLastPathComponent().lastPathComponent(), "real");
    EXPECT_NE(text.find("src=\"" + resolved.absoluteString() + "\""), std::string::npos) << text;
    EXPECT_EQ(text.find("/link/"), std::string::npos);
}

TEST_F(RecordedTakeTimelineTest, aFolderThatCannotBeWrittenGivesTheWarning) {
    files.sounds = {recordWave("take_mic.wav", 1, 4'800)};
    files.folder = URL::fileURL("/proc/self");
    const std::string outcome = write(TimelineEditor::premiere);
    EXPECT_EQ(outcome.rfind("The timeline file for Premiere couldn't be saved (", 0), 0u) << outcome;
    EXPECT_EQ(outcome.substr(outcome.size() - 19), "). Every track was.") << outcome;
    EXPECT_TRUE(probe(files.sounds[0]));
}

TEST_F(RecordedTakeTimelineTest, aTakeOfWhichNothingCanBeReadHasNoDocument) {
    files.sounds = {folder.write("take_mic.wav", "no sound")};
    EXPECT_EQ(write(TimelineEditor::resolve), "nothing");
    EXPECT_EQ(write(TimelineEditor::none), "nothing");
    EXPECT_FALSE(std::filesystem::exists(folder.file("take.otio").path()));
}

} // namespace
} // namespace vintra

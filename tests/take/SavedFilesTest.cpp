#include "tests/take/RecorderFixture.h"

#include "Vintra/take/WavFile.h"

namespace vintra {
namespace {

/// Files that the user, or another program, touches while they are recorded.
class SavedFilesTest : public RecorderFixture {
protected:
    void SetUp() override {
        RecorderFixture::SetUp();
        machine.userDefaults->values["timelineEditor"] = std::string("resolve");
        machine.audioHardware->device("mic.one")->firstFrameSeconds = 0.3;
        addExtraInput("multi.eight", 4, "Keys");
        recorder->selectedMicDeviceID.set("mic.one");
    }
    /// A take in which something is done to the disk after one second of two.
    template <typename Action>
    void recordWhile(Action action) {
        start();
        ASSERT_TRUE(*recorder->isRecording) << lastError();
        machine.run(1);
        action(*machine.fileManager);
        machine.run(1);
        stop();
    }
    bool exists(const std::string& at) { return machine.fileManager->fileExists(URL::fileURL(at)); }
    static URL url(const std::string& name) { return URL::fileURL(path(name)); }
};

TEST_F(SavedFilesTest, aFileThatWasDeletedIsNotSaved) {
    recordWhile([](FileManager& files) { files.removeItem(url("take_mic.wav")); });
    EXPECT_EQ(*recorder->statusMessage, "Save failed");
    EXPECT_EQ(lastError(),
              "Some tracks failed to save: mic track (the file was deleted while it was recorded, or moved "
              "to another disk)");
    EXPECT_FALSE(exists(path("take.otio"))) << "no timeline of a failed take";
    EXPECT_TRUE(exists(path("take_Keys.wav")));
    EXPECT_EQ(machine.fileManager->contentsOfDirectory(URL::fileURL(kFolder)),
              (std::vector<std::string>{"take_Keys.wav", "take_video.mov"}))
        << "and no journal";
}

TEST_F(SavedFilesTest, aFolderThatWasDeletedHasNoneOfItsFilesSaved) {
    recordWhile([](FileManager& files) { files.removeItem(URL::fileURL(kFolder)); });
    EXPECT_EQ(*recorder->statusMessage, "Save failed");
    for (const char* label : {"screen recording (", "mic track (", "take_Keys.wav ("})
        EXPECT_NE(lastError().find(label), std::string::npos) << lastError();
    EXPECT_FALSE(exists(kFolder));
    EXPECT_TRUE(machine.fileManager
                    ->contentsOfDirectory(URL::fileURL("/home/user/.local/state/vintra/unfinished-takes"))
                    .empty());
}

TEST_F(SavedFilesTest, aFolderThatWasRenamedIsFollowed) {
    recordWhile([](FileManager& files) {
        files.replaceItem(URL::fileURL("/home/user/Videos/Renamed"), URL::fileURL(kFolder));
    });
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_EQ(lastError(),
              "The files of this take were moved during the recording: look in “/home/user/Videos/Renamed”.");
    EXPECT_EQ(machine.fileManager->contentsOfDirectory(URL::fileURL("/home/user/Videos/Renamed")),
              (std::vector<std::string>{"take.otio", "take_Keys.wav", "take_mic.wav", "take_video.mov"}));
    EXPECT_FALSE(exists(kFolder));
    const auto header =
        readWavHeader(*machine.fileManager, URL::fileURL("/home/user/Videos/Renamed/take_mic.wav"));
    ASSERT_TRUE(header.has_value());
    EXPECT_NEAR(static_cast<double>(header->declaredDataSize), 2.0 * 3 * 48'000, 0.1 * 3 * 48'000)
        << "padded where it is";
    ASSERT_TRUE(recorder->lastTakeFiles().has_value());
    EXPECT_EQ(recorder->lastTakeFiles()->folder.path(), "/home/user/Videos/Renamed");
}

TEST_F(SavedFilesTest, aFileThatWasMovedIsFollowedAndTold) {
    recordWhile(
        [](FileManager& files) { files.replaceItem(URL::fileURL("/tmp/voice.wav"), url("take_mic.wav")); });
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_EQ(lastError(), "“take_mic.wav” was moved during the recording: look in “/tmp”.");
    EXPECT_EQ(recorder->lastTakeFiles()->sounds.front().path(), "/tmp/voice.wav");
    EXPECT_TRUE(exists(path("take.otio")));
}

TEST_F(SavedFilesTest, aFileThatWasReplacedIsNotSavedAndTheOtherIsNotTouched) {
    recordWhile([](FileManager& files) {
        files.writeAtomically(URL::fileURL("/tmp/other"), "somebody else's");
        files.replaceItem(url("take_mic.wav"), URL::fileURL("/tmp/other"));
    });
    EXPECT_EQ(lastError(), "Some tracks failed to save: mic track (another file has taken its place)");
    EXPECT_EQ(machine.fileManager->contents(path("take_mic.wav")), "somebody else's");
}

TEST_F(SavedFilesTest, aTakeThatNobodyTouchedIsSaved) {
    recordWhile([](FileManager&) {});
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    size_t movies = 0;
    for (const SavedFile& file : recorder->lastTakeSavedFiles()) {
        ASSERT_TRUE(file.expectedSeconds && file.seconds) << file.label;
        EXPECT_NEAR(*file.seconds, *file.expectedSeconds, 0.05) << file.label;
        movies += file.isMovie && file.frames && file.frames->slots() >= 58 ? 1 : 0;
    }
    EXPECT_EQ(movies, 1u);
}

TEST_F(SavedFilesTest, aMovieThatIsShorterThanItsAccountIsNotSaved) {
    recordWhile([](FileManager&) {});
    std::vector<SavedFile> files = recorder->lastTakeSavedFiles();
    std::erase_if(files, [](const SavedFile& file) { return !file.isMovie; });
    ASSERT_EQ(files.size(), 1u);
    *files.front().expectedSeconds = 7.25;
    checkSavedFiles(files, *machine.fileManager, *machine.assetProbing);
    ASSERT_TRUE(files.front().problem.has_value());
    EXPECT_TRUE(files.front().problem->ends_with(" s long, not 7.2 s")) << *files.front().problem;
}

} // namespace
} // namespace vintra

#include "Vintra/timeline/TimelineFile.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "XMLDocument.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

SimulatedAsset movieAsset(double rate) {
    SimulatedAsset asset;
    asset.duration = CMTimeMake(10, 1);
    asset.videoTracks = {{simulatedVideoTrack({1920, 1080}, rate, CMTimeMake(10, 1))}};
    return asset;
}

SimulatedAsset soundAsset(CMTime duration = CMTimeMake(10, 1)) {
    SimulatedAsset asset;
    asset.duration = duration;
    asset.audioTracks = {{simulatedAudioTrack(1)}};
    return asset;
}

class TimelineFileTest : public testing::Test {
protected:
    TimelineFileTest() {
        files.take = "take";
        files.folder = URL::fileURL("/home/user/Videos/Vintra");
        files.screen = url("take_video.mov");
        files.cameras = {url("take_webcam.mov")};
        files.sounds = {url("take_mic.wav")};
        machine.fileManager->createDirectory(files.folder);
        machine.assetProbing->set(*files.screen, movieAsset(29.97));
        machine.assetProbing->set(files.cameras[0], movieAsset(30));
        machine.assetProbing->set(files.sounds[0], soundAsset());
    }

    URL url(const std::string& name) const { return files.folder.appendingPathComponent(name); }
    std::optional<URL> write(TimelineEditor editor) {
        return machine.complete(TimelineFile::write(files, editor, machine.platform()));
    }
    std::string written(const std::string& name) const {
        return machine.fileManager->contents(url(name).path()).value_or("no such file");
    }

    SimulatedMachine machine;
    TakeFiles files;
};

TEST_F(TimelineFileTest, theDocumentStandsBesideTheFilesUnderTheTakesName) {
    EXPECT_EQ(write(TimelineEditor::finalCut), url("take.fcpxml"));
    EXPECT_EQ(write(TimelineEditor::resolve), url("take.otio"));
    EXPECT_EQ(write(TimelineEditor::premiere), url("take.xml"));
    EXPECT_NE(written("take.fcpxml").find("<fcpxml version=\"1.10\">"), std::string::npos);
    EXPECT_NE(written("take.otio").find("\"OTIO_SCHEMA\": \"Timeline.1\""), std::string::npos);
    EXPECT_NE(written("take.xml").find("<xmeml version=\"4\">"), std::string::npos);
}

TEST_F(TimelineFileTest, filesAreProbedOnceEachByName) {
    write(TimelineEditor::finalCut);
    EXPECT_EQ(machine.assetProbing->asked(),
              (std::vector<URL>{url("take_mic.wav"), url("take_video.mov"), url("take_webcam.mov")}));
}

TEST_F(TimelineFileTest, noEditorMeansNoProbingAndNoFile) {
    const auto before = machine.fileManager->paths();
    EXPECT_EQ(write(TimelineEditor::none), std::nullopt);
    EXPECT_TRUE(machine.assetProbing->asked().empty());
    EXPECT_EQ(machine.fileManager->paths(), before);
}

TEST_F(TimelineFileTest, aFileThatCannotBeProbedIsLeftOut) {
    machine.assetProbing->remove(files.cameras[0]);
    write(TimelineEditor::finalCut);
    const XMLDocument document(written("take.fcpxml"));
    EXPECT_EQ(document.all("//asset/@name"), (std::vector<std::string>{"take_mic", "take_video"}));
    EXPECT_EQ(document.all("//asset/@id"), (std::vector<std::string>{"a1", "a2"}));
}

TEST_F(TimelineFileTest, aFileWithoutAPositiveDurationIsLeftOut) {
    for (const CMTime duration : {kCMTimeZero, CMTimeMake(-1, 600), kCMTimeIndefinite, kCMTimeInvalid}) {
        machine.assetProbing->set(files.sounds[0], soundAsset(duration));
        write(TimelineEditor::finalCut);
        EXPECT_EQ(XMLDocument(written("take.fcpxml")).count("//asset"), 2u) << describe(duration);
    }
}

TEST_F(TimelineFileTest, aTakeWithoutAUsableFileHasNoDocument) {
    for (const URL& file : {*files.screen, files.cameras[0], files.sounds[0]})
        machine.assetProbing->remove(file);
    EXPECT_EQ(write(TimelineEditor::premiere), std::nullopt);
    EXPECT_FALSE(machine.fileManager->wasChanged(url("take.xml").path()));
    EXPECT_TRUE(machine.log->texts("timeline").empty());
}

TEST_F(TimelineFileTest, aTakeWithOnlyAMicrophoneHasADocument) {
    files.screen.reset();
    files.cameras.clear();
    EXPECT_EQ(write(TimelineEditor::premiere), url("take.xml"));
    EXPECT_EQ(XMLDocument(written("take.xml")).first("/xmeml/sequence/rate/timebase"), "30");
}

TEST_F(TimelineFileTest, whatWasWrittenIsLoggedAsInformation) {
    write(TimelineEditor::finalCut);
    const std::vector<SimulatedLog::Line> expected = {
        {"timeline", LogLevel::info, "wrote take.fcpxml: 3 files at 29.970030 fps"}};
    EXPECT_EQ(machine.log->lines(), expected);
}

TEST_F(TimelineFileTest, documentsNameFilesWhereTheirLinksLead) {
    machine.fileManager->put("/disk/real.wav");
    machine.fileManager->putLink(url("take_mic.wav").path(), "/disk/real.wav");
    write(TimelineEditor::finalCut);
    write(TimelineEditor::premiere);
    write(TimelineEditor::resolve);
    const XMLDocument document(written("take.fcpxml"));
    EXPECT_EQ(document.all("//media-rep/@src").front(), "file:///disk/real.wav");
    EXPECT_EQ(document.all("//asset/@name").front(), "take_mic");
    EXPECT_NE(written("take.xml").find("<pathurl>file://localhost/disk/real.wav</pathurl>"),
              std::string::npos);
    EXPECT_NE(written("take.otio").find("\"target_url\": \"/disk/real.wav\""), std::string::npos);
}

TEST_F(TimelineFileTest, anOlderDocumentIsReplaced) {
    machine.fileManager->put(url("take.fcpxml").path(), "old");
    write(TimelineEditor::finalCut);
    EXPECT_EQ(written("take.fcpxml").find("old"), std::string::npos);
}

TEST_F(TimelineFileTest, aFolderThatCannotBeWrittenGivesTheWarning) {
    files.folder = URL::fileURL("/no/such/folder");
    try {
        write(TimelineEditor::resolve);
        FAIL() << "no error";
    } catch (const SystemError& error) {
        EXPECT_EQ(TimelineFile::couldNotBeSaved(TimelineEditor::resolve, error),
                  "The timeline file for Resolve couldn't be saved (" + error.localizedDescription() +
                      "). Every track was.");
    }
    EXPECT_TRUE(machine.log->texts("timeline").empty());
}

TEST_F(TimelineFileTest, theWarningNamesTheEditor) {
    const SystemError error("posix", 28, "The disk is full.");
    EXPECT_EQ(TimelineFile::couldNotBeSaved(TimelineEditor::finalCut, error),
              "The timeline file for Final Cut couldn't be saved (The disk is full.). Every track was.");
    EXPECT_EQ(TimelineFile::couldNotBeSaved(TimelineEditor::premiere, error),
              "The timeline file for Premiere couldn't be saved (The disk is full.). Every track was.");
}

TEST_F(TimelineFileTest, theMainThreadIsFreeWhileFilesAreProbed) {
    bool mainRanFirst = false;
    TaskScope scope;
    std::optional<URL> result;
    const auto writing = [](TakeFiles some, Platform platform, std::optional<URL>* into) -> Task<void> {
        *into = co_await TimelineFile::write(some, TimelineEditor::finalCut, platform);
    };
    machine.mainThread->runNow([&] {
        scope.start(writing(files, machine.platform(), &result));
        machine.mainThread->post([&] { mainRanFirst = !result.has_value(); });
    });
    ASSERT_TRUE(machine.runMainUntil([&] { return scope.isIdle(); }));
    EXPECT_TRUE(mainRanFirst);
    EXPECT_EQ(result, url("take.fcpxml"));
}

TEST_F(TimelineFileTest, aTaskThatIsAbandonedDoesNotTouchItsOwner) {
    {
        TaskScope scope;
        const auto writing = [](TakeFiles some, Platform platform) -> Task<void> {
            const auto ignored = co_await TimelineFile::write(some, TimelineEditor::finalCut, platform);
            ADD_FAILURE() << ignored.has_value();
        };
        machine.mainThread->runNow([&] { scope.start(writing(files, machine.platform())); });
    }
    machine.settle();
    EXPECT_NE(written("take.fcpxml"), "no such file"); // the work itself was already under way
}

} // namespace
} // namespace vintra

#include "Vintra/take/SessionNames.h"
#include "tests/app/AppFixture.h"

namespace vintra {
namespace {

class TakeControlTest : public AppFixture {};

TEST_F(TakeControlTest, theButtonGoesThroughATake) {
    EXPECT_EQ(button(), (TakeControl::Button{"Start Recording", TakeControl::Style::primary, true}));
    std::vector<std::string> seen;
    const Observation observation = view->take.footerButton.observe(
        [&](const TakeControl::Button& shown) { seen.push_back(shown.title); });
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_EQ(button(), (TakeControl::Button{"Stop Recording", TakeControl::Style::destructive, true}));
    press();
    machine.run(1);
    EXPECT_EQ(seen,
              (std::vector<std::string>{"Starting…", "Stop Recording", "Stopping…", "Start Recording"}));
}

TEST_F(TakeControlTest, aBusyRecorderIsNotToggled) {
    recorder->isBusy.set(true);
    EXPECT_EQ(button(), (TakeControl::Button{"Starting…", TakeControl::Style::primary, false}));
    view->toggleRecording();
    recorder->isBusy.set(false);
    machine.run(1);
    EXPECT_FALSE(*recorder->isRecording);
    recorder->isRecording.set(true);
    recorder->isBusy.set(true);
    EXPECT_EQ(button(), (TakeControl::Button{"Stopping…", TakeControl::Style::destructive, false}));
    recorder->isRecording.set(false);
    EXPECT_EQ(button().title, "Stopping…") << "files are still being finished";
    recorder->isBusy.set(false);
    EXPECT_EQ(button().title, "Start Recording");
}

TEST_F(TakeControlTest, theTakeHasTheNameThatWasTyped) {
    view->outputSection.setSessionName("  Interview: one/two ");
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_TRUE(machine.fileManager->fileExists(URL::fileURL(path("Interview- one-two_video.mov"))));
    EXPECT_EQ(output().sessionName, "Interview- one-two");
    EXPECT_FALSE(output().isSessionNameEnabled);
    view->outputSection.setSessionName("ignored");
    press();
    machine.run(1);
    EXPECT_TRUE(output().isSessionNameEnabled);
    EXPECT_TRUE(output().sessionName.starts_with("session_")) << output().sessionName;
}

TEST_F(TakeControlTest, aFreshNameComesAfterAFailedStartToo) {
    view->outputSection.setSessionName("taken");
    machine.fileManager->createFile(URL::fileURL(path("taken_video.mov")));
    press();
    EXPECT_EQ(*recorder->statusMessage, "Failed to start");
    EXPECT_TRUE(output().sessionName.starts_with("session_")) << output().sessionName;
}

TEST_F(TakeControlTest, aTakeWithoutATypedNameLeavesThatForLater) {
    view->outputSection.setSessionName("for later");
    view->take.toggleRecordingWithGeneratedName();
    machine.run(1);
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_TRUE(output().sessionName.starts_with("session_")) << output().sessionName;
    press();
    machine.run(1);
    EXPECT_EQ(output().sessionName, "for later");
}

TEST_F(TakeControlTest, aFolderThatCannotBeMadeIsTold) {
    machine.fileManager->removeItem(URL::fileURL(kFolder));
    // A file stands where the folder is to be.
    machine.fileManager->createFile(URL::fileURL(kFolder));
    press();
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_EQ(*recorder->statusMessage, "Failed to start");
    EXPECT_NE(lastError(), "");
    view->outputSection.showFolder();
    EXPECT_TRUE(desktop.shownItems.empty());
}

TEST_F(TakeControlTest, aDeletedFolderIsMissingAndDisablesTheStart) {
    machine.fileManager->createDirectory(URL::fileURL("/disk/films"));
    machine.userDefaults->values["outputFolderPath"] = std::string("/disk/films");
    openWindow();
    EXPECT_EQ(output().folder, "/disk/films");
    EXPECT_EQ(output().folderNote, "");
    EXPECT_TRUE(button().isEnabled);
    machine.fileManager->removeItem(URL::fileURL("/disk/films"));
    machine.run(2.5);
    EXPECT_EQ(output().folderNote, " — missing");
    EXPECT_FALSE(output().isShowEnabled);
    EXPECT_EQ(button(), (TakeControl::Button{"Start Recording", TakeControl::Style::primary, false}));
    press();
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_EQ(*recorder->statusMessage, "Ready") << "nothing else is tried";
    machine.fileManager->createDirectory(URL::fileURL("/disk/films"));
    machine.run(2.5);
    EXPECT_TRUE(button().isEnabled);
}

TEST_F(TakeControlTest, theDefaultFolderIsNeverMissing) {
    machine.fileManager->removeItem(URL::fileURL(kFolder));
    machine.run(2.5);
    EXPECT_EQ(output().folderNote, "");
    EXPECT_EQ(output().folder, kFolder);
    press();
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    press();
}

TEST_F(TakeControlTest, anotherFolderIsChosenInThePanel) {
    view->chooseOutputFolder();
    ASSERT_EQ(desktop.panels.size(), 1u);
    EXPECT_EQ(desktop.panels[0].title, "Choose a folder to save recordings in");
    EXPECT_EQ(desktop.panels[0].startingAt.path(), kFolder);
    machine.fileManager->createDirectory(URL::fileURL("/disk/films"));
    desktop.panels[0].onChosen(URL::fileURL("/disk/films"));
    EXPECT_EQ(output().folder, "/disk/films");
    EXPECT_EQ(stringForKey(*machine.userDefaults, "outputFolderPath"), "/disk/films");
    // An answer that comes when the window has gone does nothing.
    view->chooseOutputFolder();
    view.reset();
    desktop.panels[1].onChosen(URL::fileURL("/other"));
    EXPECT_EQ(stringForKey(*machine.userDefaults, "outputFolderPath"), "/disk/films");
}

TEST_F(TakeControlTest, showOpensTheFolderAndAfterATakeItsMovie) {
    EXPECT_EQ(output().showTitle, "Show in Finder");
    view->outputSection.showFolder();
    EXPECT_EQ(desktop.shownItems.back().path(), kFolder);
    view->outputSection.setSessionName("interview");
    press();
    press();
    machine.run(1);
    view->outputSection.showFolder();
    EXPECT_EQ(desktop.shownItems.back().path(), path("interview_video.mov"));
}

TEST_F(TakeControlTest, theTimelineIsForOneOfTheEditors) {
    EXPECT_EQ(titles(output().timeline),
              (std::vector<std::string>{"Final Cut", "Resolve", "Premiere", "None"}));
    EXPECT_EQ(output().timeline.title(), "None");
    view->outputSection.chooseTimelineEditor("resolve");
    EXPECT_EQ(output().timeline.title(), "Resolve");
    EXPECT_EQ(stringForKey(*machine.userDefaults, "timelineEditor"), "resolve");
    view->outputSection.chooseTimelineEditor("unknown");
    EXPECT_EQ(output().timeline.title(), "Resolve");
}

TEST_F(TakeControlTest, theIndicatorCountsWhatIsArmedAndThenTheTime) {
    machine.settle();
    EXPECT_EQ(*view->statusIndicator.state, (StatusIndicator::State{.text = "1 armed"}));
    recorder->selectedMicDeviceID.set("mic.one");
    machine.run(0.5);
    EXPECT_EQ(view->statusIndicator.state->text, "2 armed");
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    const Date start = **recorder->recordingStartDate;
    EXPECT_TRUE(view->statusIndicator.state->isRecording);
    EXPECT_EQ(view->statusIndicator.state->text, "Recording");
    machine.run(start.secondsSince1970 + 65.5 - machine.wallClock->now().secondsSince1970);
    EXPECT_TRUE(view->statusIndicator.state->time == "1:05" || view->statusIndicator.state->time == "1:04");
    // A window that is opened anew goes on from the take's start.
    openWindow();
    EXPECT_EQ(view->statusIndicator.state->time, "1:05");
    EXPECT_EQ(button().title, "Stop Recording");
    press();
    machine.run(1);
    EXPECT_EQ(*view->statusIndicator.state, (StatusIndicator::State{.text = "2 armed"}));
}

} // namespace
} // namespace vintra

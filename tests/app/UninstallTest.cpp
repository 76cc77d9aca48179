#include "Vintra/app/Uninstall.h"

#include "Vintra/app/AppCommands.h"
#include "Vintra/app/UpdaterState.h"
#include "Vintra/platform/simulated/SimulatedAlerts.h"
#include "Vintra/platform/simulated/SimulatedProgramRemoval.h"
#include "tests/app/AppFixture.h"
#include "tests/app/NotedUpdaterController.h"

namespace vintra {
namespace {

class UninstallTest : public AppFixture {
protected:
    void begin() {
        uninstall.run(recorder);
        machine.settle();
    }
    void answer(size_t button) {
        alerts.answer(button);
        machine.settle();
    }
    void end(ProgramRemoval::Outcome outcome) {
        const auto onEnd = removal.runs.back();
        onEnd(std::move(outcome));
        machine.settle();
    }

    SimulatedAlerts alerts;
    SimulatedProgramRemoval removal;
    int terminations = 0;
    Uninstall uninstall{
        {.platform = platform, .alerts = alerts, .removal = removal, .terminate = [this] { ++terminations; }},
        "vintra.test"};
};

TEST_F(UninstallTest, theQuestionSaysWhatWillBeDone) {
    begin();
    EXPECT_EQ(
        alerts.open,
        (std::vector<Alert>{
            {.isWarning = true,
             .messageText = "Remove Vintra from this Mac?",
             .informativeText =
                 "This removes Vintra and the audio component it installed, then restarts your Mac's audio — "
                 "your sound will cut out for a second.\n\nYour recordings are not touched, wherever you keep "
                 "them.\n\nYou'll be asked for your password, because the audio component was installed for "
                 "the whole computer rather than just you.",
             .buttons = {"Remove Vintra", "Cancel"}}}));
    answer(1);
    EXPECT_TRUE(removal.runs.empty());
    EXPECT_TRUE(alerts.open.empty());
    begin();
    EXPECT_EQ(alerts.open.size(), 1u) << "it can be asked again";
}

TEST_F(UninstallTest, theOutputIsBackBeforeTheRemoval) {
    turnOnComputerAudio();
    ASSERT_EQ(hardware.defaultOutput, virtualDevice->id);
    std::optional<AudioObjectID> outputAtRemoval;
    removal.onRun = [&] { outputAtRemoval = hardware.defaultOutput; };
    begin();
    answer(0);
    EXPECT_EQ(removal.runs.size(), 1u);
    EXPECT_EQ(outputAtRemoval, speakers->id);
    end(ProgramRemoval::Failed{"It can't be done."});
    expectReleased(speakers);
}

TEST_F(UninstallTest, aRemovedProgramSaysGoodbyeAndEnds) {
    machine.fileManager->put("/home/user/Library/Caches/com.kestrelworks.screenrecorder.v2/updates/x.deb");
    machine.fileManager->put("/home/user/Videos/take.mov", "a recording");
    begin();
    answer(0);
    end(ProgramRemoval::Removed{});
    EXPECT_FALSE(machine.fileManager->fileExists(removal.caches));
    EXPECT_TRUE(machine.fileManager->contents("/home/user/Videos/take.mov"));
    EXPECT_EQ(
        alerts.open,
        (std::vector<Alert>{
            {.messageText = "Vintra has been removed.",
             .informativeText =
                 "Your recordings are still where you left them.\n\nYour settings were kept in case you "
                 "reinstall. To clear those too, run this in Terminal:\ndefaults delete "
                 "com.kestrelworks.screenrecorder.v2",
             .buttons = {"Quit"}}}));
    EXPECT_EQ(terminations, 0);
    answer(0);
    EXPECT_EQ(terminations, 1);
}

TEST_F(UninstallTest, theCachesNeedNotBeThere) {
    begin();
    answer(0);
    end(ProgramRemoval::Removed{});
    EXPECT_EQ(alerts.open.at(0).messageText, "Vintra has been removed.");
}

TEST_F(UninstallTest, aPasswordThatIsNotGivenEndsItInSilence) {
    begin();
    answer(0);
    end(ProgramRemoval::Cancelled{});
    EXPECT_TRUE(alerts.open.empty());
    EXPECT_EQ(terminations, 0);
    begin();
    EXPECT_EQ(alerts.open.size(), 1u);
}

TEST_F(UninstallTest, aFailureIsToldAndTheProgramGoesOn) {
    begin();
    answer(0);
    end(ProgramRemoval::Failed{"The package is in use."});
    EXPECT_EQ(alerts.open,
              (std::vector<Alert>{
                  {.isWarning = true,
                   .messageText = "Vintra could not be removed.",
                   .informativeText = "The package is in use.\n\nYou can also remove it from vintra.test.",
                   .buttons = {"OK"}}}));
    answer(0);
    EXPECT_EQ(terminations, 0);
    begin();
    answer(0);
    end(ProgramRemoval::Failed{""});
    EXPECT_TRUE(alerts.open.at(0).informativeText.starts_with("Unknown error.\n\n"));
}

TEST_F(UninstallTest, oneRunAtATime) {
    begin();
    begin();
    EXPECT_EQ(alerts.open.size(), 1u);
}

TEST_F(UninstallTest, aTakeThatHasBegunMeanwhileIsLeftAlone) {
    begin();
    press();
    ASSERT_TRUE(*recorder->isRecording);
    answer(0);
    EXPECT_TRUE(removal.runs.empty());
    press();
}

TEST_F(UninstallTest, itCannotBeChosenInATake) {
    NotedUpdaterController controller;
    UpdaterState updaterState(controller);
    AppCommands commands(*platform.mainThread, *recorder, updaterState);
    EXPECT_TRUE(*commands.canRemove);
    EXPECT_FALSE(*commands.canCheckForUpdates);
    controller.updater().canCheckForUpdates.set(true);
    press();
    EXPECT_TRUE(*commands.canCheckForUpdates);
    EXPECT_FALSE(*commands.canRemove);
    press();
    EXPECT_TRUE(*commands.canRemove);
}

} // namespace
} // namespace vintra

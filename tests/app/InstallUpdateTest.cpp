#include "Vintra/platform/UpdateInstallation.h"
#include "tests/app/UpdaterFixture.h"

namespace vintra {
namespace {

class InstallUpdateTest : public UpdaterFixture {
protected:
    static constexpr const char* kFile = "/tmp/vintra-abc_def+.deb";

    void find() {
        installation.items = {item("1.3")};
        check();
    }
    void endInstallation(UpdateInstallation::Outcome outcome) {
        const auto on = installation.installs.back().second;
        on.ended(std::move(outcome));
        machine.settle();
    }
};

TEST_F(InstallUpdateTest, theWholeWayToTheNewVersion) {
    find();
    pressButton("Install Update");
    ASSERT_EQ(web.downloads.size(), 1u);
    EXPECT_EQ(web.downloads[0]->download.address, "https://updates.test/vintra.deb");
    EXPECT_EQ(web.downloads[0]->download.file.path(), kFile);
    EXPECT_EQ(web.downloads[0]->download.length, 10u);
    EXPECT_FALSE(web.downloads[0]->download.resumes);
    web.send("01234");
    EXPECT_EQ(stateText(), "Downloading Vintra 1.3… | 0.0 of 0.0 MB");
    EXPECT_EQ(shown().progress, UpdateWindow::Progress::fraction);
    EXPECT_EQ(shown().fraction, 0.5);
    EXPECT_TRUE(installation.verified.empty());
    web.send("56789");
    web.end();
    machine.settle();
    EXPECT_EQ(installation.verified, std::vector<std::string>{kFile});
    ASSERT_EQ(installation.installs.size(), 1u);
    EXPECT_EQ(installation.installs[0].first, kFile);
    EXPECT_EQ(stateText(), "Installing Vintra 1.3… | You may be asked for your password.");
    EXPECT_TRUE(shown().buttons.empty());
    installation.installs[0].second.progress(40);
    EXPECT_EQ(shown().fraction, 0.4);
    EXPECT_EQ(installation.relaunches, 0);
    endInstallation(std::nullopt);
    EXPECT_EQ(installation.relaunches, 1);
    EXPECT_EQ(quits, 1);
    EXPECT_FALSE(machine.fileManager->fileExists(URL::fileURL(kFile)));
}

TEST_F(InstallUpdateTest, nothingInterruptsARecording) {
    press();
    fetchUpdate();
    EXPECT_EQ(stateText(), "Vintra 1.3 is ready to install. | It is installed when the recording has ended.");
    machine.run(60);
    EXPECT_TRUE(installation.installs.empty());
    press();
    EXPECT_EQ(installation.installs.size(), 1u);
    view->take.sessionName.set("another take");
    press();
    ASSERT_TRUE(*recorder->isRecording);
    endInstallation(std::nullopt);
    EXPECT_EQ(stateText(), "Vintra 1.3 is installed. | Vintra starts anew when the recording has ended.");
    machine.run(60);
    EXPECT_EQ(quits, 0);
    press();
    EXPECT_EQ(installation.relaunches, 1);
    EXPECT_EQ(quits, 1);
}

TEST_F(InstallUpdateTest, theWaitForTheRecordingCanBeGivenUp) {
    press();
    fetchUpdate();
    pressButton("Cancel");
    EXPECT_FALSE(shown().isShown);
    press();
    machine.run(10);
    EXPECT_TRUE(installation.installs.empty());
}

TEST_F(InstallUpdateTest, aDownloadGoesOnWhereItStopped) {
    find();
    pressButton("Install Update");
    web.send("0123");
    web.end(SimulatedWebRequests::unreachable());
    EXPECT_EQ(
        stateText(),
        "The update wasn't installed. | The server can't be reached; check the connection and try again.");
    EXPECT_TRUE(*updaterState->canCheck);
    pressButton("Try Again");
    ASSERT_EQ(web.downloads.size(), 2u);
    EXPECT_TRUE(web.downloads[1]->download.resumes);
    web.send("456789");
    web.end();
    machine.settle();
    EXPECT_EQ(machine.fileManager->contents(kFile), "0123456789");
    EXPECT_EQ(installation.installs.size(), 1u);
}

TEST_F(InstallUpdateTest, aCancelledDownloadIsKeptForLater) {
    find();
    pressButton("Install Update");
    web.send("0123");
    pressButton("Cancel");
    EXPECT_TRUE(web.downloads[0]->isCancelled);
    EXPECT_EQ(*updateNotice.waiting, std::nullopt);
    check();
    pressButton("Install Update");
    EXPECT_TRUE(web.downloads[1]->download.resumes);
}

TEST_F(InstallUpdateTest, filesOfOtherUpdatesAreClearedAway) {
    machine.fileManager->put("/tmp/vintra-other.deb", "old");
    machine.fileManager->put("/tmp/unrelated", "stays");
    find();
    pressButton("Install Update");
    EXPECT_FALSE(machine.fileManager->fileExists(URL::fileURL("/tmp/vintra-other.deb")));
    EXPECT_TRUE(machine.fileManager->fileExists(URL::fileURL("/tmp/unrelated")));
}

TEST_F(InstallUpdateTest, whatIsNotSignedIsNotInstalled) {
    installation.verification = "The update isn't signed by Vintra's makers.";
    fetchUpdate();
    EXPECT_EQ(stateText(), "The update wasn't installed. | The update isn't signed by Vintra's makers.");
    EXPECT_TRUE(installation.installs.empty());
    EXPECT_FALSE(machine.fileManager->fileExists(URL::fileURL(kFile)));
    EXPECT_EQ(quits, 0);
    pressButton("Close");
    EXPECT_FALSE(shown().isShown);
}

TEST_F(InstallUpdateTest, aFileOfTwoHalvesIsFetchedAnew) {
    machine.fileManager->put(kFile, "other");
    installation.verification = "The update isn't signed by Vintra's makers.";
    fetchUpdate();
    ASSERT_EQ(web.downloads.size(), 2u);
    EXPECT_TRUE(web.downloads[0]->download.resumes);
    EXPECT_FALSE(web.downloads[1]->download.resumes);
    EXPECT_EQ(shown().title, "Downloading Vintra 1.3…");
    installation.verification = std::nullopt;
    web.send("0123456789");
    web.end();
    machine.settle();
    EXPECT_EQ(installation.installs.size(), 1u);
}

TEST_F(InstallUpdateTest, aRefusedPasswordChangesNothing) {
    fetchUpdate();
    endInstallation("The password wasn't given.");
    EXPECT_EQ(stateText(), "The update wasn't installed. | The password wasn't given.");
    EXPECT_EQ(quits, 0);
    EXPECT_EQ(installation.relaunches, 0);
    pressButton("Try Again");
    EXPECT_TRUE(web.downloads.back()->download.resumes) << "what was fetched is kept";
}

TEST_F(InstallUpdateTest, anInstallationGoesOnBehindAClosedWindow) {
    fetchUpdate();
    window->close();
    EXPECT_FALSE(shown().isShown);
    controller->checkForUpdates();
    EXPECT_TRUE(shown().isShown);
    EXPECT_EQ(shown().title, "Installing Vintra 1.3…");
    window->close();
    endInstallation("The disk is full.");
    EXPECT_TRUE(shown().isShown) << "what the user has begun is told to its end";
    EXPECT_EQ(shown().text, "The disk is full.");
}

TEST_F(InstallUpdateTest, aFailureBehindAClosedWindowWaitsForTheEndOfARecording) {
    fetchUpdate();
    window->close();
    press();
    ASSERT_TRUE(*recorder->isRecording);
    endInstallation("The disk is full.");
    EXPECT_FALSE(shown().isShown) << "no window comes up over what is recorded";
    press();
    EXPECT_TRUE(shown().isShown);
    EXPECT_EQ(shown().text, "The disk is full.");
}

TEST_F(InstallUpdateTest, aFolderThatCannotBeMadeIsTold) {
    find();
    installation.folderError = SystemError("posix", 28, "The disk is full; make room and try again.");
    pressButton("Install Update");
    EXPECT_EQ(stateText(), "The update wasn't installed. | The disk is full; make room and try again.");
    EXPECT_TRUE(web.downloads.empty());
}

} // namespace
} // namespace vintra

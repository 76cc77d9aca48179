// The program with its window, as other programs and the session deal with it.

#include "tests/programs/windows/VintraFixture.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/MuteBus.h"

#include <csignal>

namespace vintra {
namespace {

class VintraCommandsTest : public VintraFixture {};

TEST_F(VintraCommandsTest, commandsAndTheMarkerKeyDriveATake) {
    const auto program = start();
    ASSERT_TRUE(awaitProgram());
    const ProgramRun early = give("--stop");
    EXPECT_EQ(early.exitCode, 1);
    EXPECT_EQ(early.errors, "vintra: There is no recording to stop.\n");

    const ProgramRun started = give("--start");
    EXPECT_EQ(started.exitCode, 0) << started.errors;
    EXPECT_EQ(started.output, "Recording.\n");
    EXPECT_EQ(give("--start").exitCode, 1);
    EXPECT_EQ(give("--marker").output, "Marker 1 is set.\n");
    EXPECT_EQ(runProgram({"xdotool", "key", "ctrl+alt+m"}).exitCode, 0);
    // The key's marker comes in between, however long that takes.
    int number = 1;
    EXPECT_TRUE(await([&] {
        const std::string said = give("--marker").output;
        const bool isOneMore = said == "Marker " + std::to_string(++number) + " is set.\n";
        return !isOneMore;
    }));
    const ProgramRun stopped = give("--stop");
    EXPECT_EQ(stopped.exitCode, 0) << stopped.errors;
    EXPECT_EQ(stopped.output.find("Saved"), 0u) << stopped.output;
    ASSERT_EQ(movies().size(), 1u);
    EXPECT_GT(MediaProbe(movies()[0]).track(0).packets.size(), 0u);
    EXPECT_TRUE(journals().empty());

    const ProgramRun ended = give("--quit");
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
    EXPECT_EQ(ended.output, "Vintra has ended.\n");
    EXPECT_EQ(program->wait(), 0);
    const ProgramRun late = give("--stop");
    EXPECT_EQ(late.exitCode, 3);
    EXPECT_EQ(late.errors, "vintra: Vintra isn't running.\n");
}

TEST_F(VintraCommandsTest, aSecondStartRaisesTheFirstAndEnds) {
    const auto first = start();
    ASSERT_TRUE(awaitProgram());
    ASSERT_TRUE(await(isWindowShown));
    const std::string window =
        runProgram({"xdotool", "search", "--onlyvisible", "--name", "VINTRA Recorder"}).output;
    EXPECT_EQ(runProgram({"xdotool", "windowunmap", "--sync", window.substr(0, window.find('\n'))}).exitCode,
              0);
    const auto second = start();
    EXPECT_EQ(second->restOfOutput(), "");
    EXPECT_EQ(second->wait(), 0);
    first->signal(SIGTERM);
    EXPECT_EQ(first->wait(), 0);
}

TEST_F(VintraCommandsTest, aSignalSavesTheTakeFirst) {
    const auto program = start();
    ASSERT_TRUE(awaitProgram());
    ASSERT_EQ(give("--start").exitCode, 0);
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
    ASSERT_EQ(movies().size(), 1u);
    EXPECT_GT(MediaProbe(movies()[0]).track(0).packets.size(), 0u);
    EXPECT_TRUE(journals().empty());
}

TEST_F(VintraCommandsTest, twoSignalsLeaveATakeAsACrashDoes) {
    const auto program = start();
    ASSERT_TRUE(awaitProgram());
    ASSERT_EQ(give("--start").exitCode, 0);
    // Something of the take lies on the disk.
    ASSERT_TRUE(await([this] {
        try {
            return movies().size() == 1 && !MediaProbe(movies()[0]).track(0).packets.empty();
        } catch (const std::exception&) {
            return false;
        }
    }));
    // Both wait when it goes on, so that the second doesn't come too late.
    program->signal(SIGSTOP);
    program->signal(SIGTERM);
    program->signal(SIGINT);
    program->signal(SIGCONT);
    program->wait();
    EXPECT_EQ(journals().size(), 1u);
    const ProgramRun recovery = runProgram({VINTRA_BIN_DIR "/vintra-take", "--recover", films().path()});
    EXPECT_EQ(recovery.exitCode, 0) << recovery.errors;
    EXPECT_TRUE(journals().empty());
    EXPECT_GT(MediaProbe(movies()[0]).track(0).packets.size(), 0u);
}

TEST_F(VintraCommandsTest, withoutASessionBusThereIsAWindowAllTheSame) {
    const auto program = start({"DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent/bus"});
    EXPECT_EQ(program->readLine(),
              "vintra: There is no session bus: the commands of vintra and a second start don't "
              "reach this window.");
    EXPECT_TRUE(await(isWindowShown));
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(VintraCommandsTest, aSessionBusThatHangsHoldsTheWindowUpForAMoment) {
    const MuteBus mute;
    ASSERT_TRUE(mute.isListening());
    const auto program = start({"DBUS_SESSION_BUS_ADDRESS=" + mute.address()});
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(program->readLine(),
              "vintra: The session bus doesn't answer: the commands of vintra and a second start "
              "don't reach this window.");
    EXPECT_TRUE(await(isWindowShown));
    // What waits for a bus waits for 25 s.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(VintraCommandsTest, wordsThatItDoesntKnowAreRefused) {
    const ProgramRun run = give("--strat");
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.errors, "vintra: There is no option “--strat”. --help shows those there are.\n");
    EXPECT_EQ(give("--version").output.find("Vintra "), 0u);
}

} // namespace
} // namespace vintra

#include "tests/support/ChildProcess.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <csignal>
#include <filesystem>

namespace vintra {
namespace {

std::vector<std::string> headless(const std::string& script) {
    return {VINTRA_CHECKOUT "/tools/headless-session", "--bin", VINTRA_BIN_DIR, "sh", "-c", script};
}

TEST(HeadlessSession, theExitCodeIsTheCommands) {
    ChildProcess session(headless("exit 7"));
    EXPECT_EQ(session.wait(), 7);
}

TEST(HeadlessSession, nothingOfItIsLeft) {
    ChildProcess session(headless("echo $XDG_RUNTIME_DIR"));
    const std::string folder = session.readLine();
    ASSERT_FALSE(folder.empty());
    EXPECT_EQ(session.wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST(HeadlessSession, aSignalIsPassedOnToTheCommandWhoseAnswerCounts) {
    ChildProcess session(headless("trap 'exit 9' TERM; echo $XDG_RUNTIME_DIR; while :; do sleep 0.05; done"));
    const std::string folder = session.readLine();
    session.signal(SIGTERM);
    EXPECT_EQ(session.wait(), 9);
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST(HeadlessSession, theMicrophoneIsTheDefaultInput) {
    ChildProcess session(headless("exec pw-metadata -m 0 default.audio.source"));
    EXPECT_TRUE(session.awaitLineWith("vintra.headless.microphone"));
}

TEST(HeadlessSession, aDesktopWhoseHelperHasNotBeenBuiltSaysSoAtOnce) {
    const TemporaryFolder bin;
    for (const auto& [desktop, name, helper] :
         {std::array{"sway", "sway", "shared-memory-screencopy"}, {"kde", "KDE", "kwin-output-frames"}}) {
        const ProgramRun session = runProgram({VINTRA_CHECKOUT "/tools/headless-session", "--desktop",
                                               desktop, "--bin", bin.url().path(), "true"});
        EXPECT_EQ(session.exitCode, 1);
        EXPECT_EQ(session.errors, std::string("headless-session: ") + helper + ".so, which the desktop " +
                                      name + " needs, hasn't been built in " + bin.url().path() +
                                      ". Build it and come again: cmake --preset release && cmake --build "
                                      "--preset release --target " +
                                      helper + "\n");
    }
}

TEST(HeadlessSession, anUnknownDesktopIsAMistakeOfTheCommandLine) {
    EXPECT_EQ(runProgram({VINTRA_CHECKOUT "/tools/headless-session", "--desktop", "weston", "true"}).exitCode,
              2);
}

} // namespace
} // namespace vintra

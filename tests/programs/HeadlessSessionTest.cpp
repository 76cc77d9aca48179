#include "tests/support/ChildProcess.h"

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

} // namespace
} // namespace vintra

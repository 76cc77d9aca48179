// The program with its window where something of the session is missing.

#include "tests/programs/windows/VintraFixture.h"
#include "tests/support/MediaProbe.h"

#include <csignal>

namespace vintra {
namespace {

class MissingServicesTest : public VintraFixture {};

TEST_F(MissingServicesTest, withoutPipeWireTheWindowOpensAndTheScreenIsRecorded) {
    const auto program = start({"PIPEWIRE_REMOTE=/nonexistent/pipewire-0"});
    ASSERT_TRUE(await(isWindowShown));
    ASSERT_TRUE(awaitProgram());
    const ProgramRun started = give("--start");
    EXPECT_EQ(started.exitCode, 0) << started.errors;
    const ProgramRun stopped = give("--stop");
    EXPECT_EQ(stopped.output.find("Saved"), 0u) << stopped.output << stopped.errors;
    ASSERT_EQ(movies().size(), 1u);
    EXPECT_GT(MediaProbe(movies()[0]).track(0).packets.size(), 0u);
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(MissingServicesTest, withoutADisplayASentenceSaysSo) {
    const auto program = start({"DISPLAY=:4711", "WAYLAND_DISPLAY=nobody-there"});
    EXPECT_EQ(program->restOfOutput(),
              "vintra: There is no desktop here that a window could open on. To record without one, see "
              "vintra-take --help.\n");
    EXPECT_EQ(program->wait(), 1);
}

} // namespace
} // namespace vintra

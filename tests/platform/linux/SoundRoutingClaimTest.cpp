#include "Vintra/platform/linux/SoundRoutingClaim.h"

#include "tests/support/TemporaryFolder.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vintra {
namespace {

TEST(SoundRoutingClaimTest, oneAtATimeHasIt) {
    const TemporaryFolder folder;
    const std::string path = folder.file("claim").path();
    SoundRoutingClaim first(path);
    SoundRoutingClaim second(path);
    EXPECT_TRUE(first.take(0));
    EXPECT_TRUE(first.take(0)) << "who has it keeps it";
    EXPECT_FALSE(second.take(20));
    first.release();
    EXPECT_TRUE(second.take(0));
    EXPECT_FALSE(first.take(0));
}

TEST(SoundRoutingClaimTest, aProcessThatDiesGivesItUp) {
    const TemporaryFolder folder;
    const std::string path = folder.file("claim").path();
    const pid_t child = fork();
    if (child == 0) {
        SoundRoutingClaim claim(path);
        claim.take(0);
        ::kill(::getpid(), SIGKILL);
    }
    ASSERT_GT(child, 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    SoundRoutingClaim claim(path);
    EXPECT_TRUE(claim.take(0));
}

TEST(SoundRoutingClaimTest, withoutAPlaceForItEveryoneHasIt) {
    SoundRoutingClaim first("/nowhere/at/all");
    SoundRoutingClaim second("/nowhere/at/all");
    EXPECT_TRUE(first.take(0));
    EXPECT_TRUE(second.take(0));
}

} // namespace
} // namespace vintra

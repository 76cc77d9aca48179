#include "tests/support/TemporaryFolder.h"

#include "Vintra/platform/linux/wayland/PortalRestoreTokens.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vintra {
namespace {

TEST(PortalRestoreTokens, aTokenIsKeptForItsDisplayAndGoodForOneUse) {
    const TemporaryFolder folder;
    const URL file = folder.file("state/vintra/tokens");
    PortalRestoreTokens(file).keep("DP-1", "first");
    PortalRestoreTokens(file).keep("HDMI-A-1", "second");
    EXPECT_EQ(PortalRestoreTokens(file).take("DP-1"), "first");
    EXPECT_EQ(PortalRestoreTokens(file).take("DP-1"), "");
    EXPECT_EQ(PortalRestoreTokens(file).take("HDMI-A-1"), "second");
}

TEST(PortalRestoreTokens, aNewTokenTakesThePlaceOfTheOldOneAndNoneRemovesIt) {
    const TemporaryFolder folder;
    PortalRestoreTokens tokens(folder.file("tokens"));
    tokens.keep("DP-1", "old");
    tokens.keep("DP-1", "new");
    EXPECT_EQ(folder.read("tokens"), "DP-1\tnew\n");
    tokens.keep("DP-1", "");
    EXPECT_EQ(folder.read("tokens"), "");
}

TEST(PortalRestoreTokens, onlyTheUserMayReadThem) {
    const TemporaryFolder folder;
    PortalRestoreTokens(folder.file("tokens")).keep("DP-1", "secret");
    struct stat status {};
    ASSERT_EQ(::stat(folder.file("tokens").path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST(PortalRestoreTokens, aFileThatMeansNothingHoldsNone) {
    const TemporaryFolder folder;
    PortalRestoreTokens tokens(folder.write("tokens", "neither a tab\n\n\x01\xff"));
    EXPECT_EQ(tokens.take("DP-1"), "");
    tokens.keep("DP-1", "two\nlines");
    EXPECT_EQ(tokens.take("DP-1"), "");
    tokens.keep("DP-1", "token");
    EXPECT_EQ(tokens.take("DP-1"), "token");
}

TEST(PortalRestoreTokens, aPlaceThatCannotBeWrittenIsNoTrouble) {
    const TemporaryFolder folder;
    folder.write("file", "");
    PortalRestoreTokens tokens(folder.file("file/tokens"));
    tokens.keep("DP-1", "token");
    EXPECT_EQ(tokens.take("DP-1"), "");
}

} // namespace
} // namespace vintra

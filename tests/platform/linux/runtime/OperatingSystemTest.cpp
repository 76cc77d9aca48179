#include "Vintra/platform/linux/runtime/OperatingSystem.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(OperatingSystem, theFilesNameAndVersionAreRead) {
    const auto system = operatingSystemOfText("PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nNAME=\"Debian "
                                              "GNU/Linux\"\nVERSION_ID=\"12\"\nID=debian\n");
    EXPECT_EQ(system.name, "Debian GNU/Linux");
    EXPECT_EQ(system.version, "12");
}

TEST(OperatingSystem, quotesAndEscapesAreThoseOfAShell) {
    EXPECT_EQ(operatingSystemOfText("NAME=Arch\\ Linux").name, "Arch Linux");
    EXPECT_EQ(operatingSystemOfText("NAME='One \"two\"'").name, "One \"two\"");
    EXPECT_EQ(operatingSystemOfText("NAME=\"a \\$ b\"").name, "a $ b");
}

TEST(OperatingSystem, withoutANameItIsLinux) {
    const auto system = operatingSystemOfText("# nothing\nNAME=\nnot a line\n=\n");
    EXPECT_EQ(system.name, "Linux");
    EXPECT_EQ(system.version, "");
}

TEST(OperatingSystem, thisMachineHasAName) {
    EXPECT_FALSE(operatingSystem().name.empty());
    EXPECT_FALSE(hardwareModel().empty());
}

} // namespace
} // namespace vintra

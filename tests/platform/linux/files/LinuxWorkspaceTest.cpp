#include "Vintra/platform/linux/files/LinuxWorkspace.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace vintra {
namespace {

constexpr const char* kResolve = "com.blackmagic-design.DaVinciResolve";

class LinuxWorkspaceTest : public testing::Test {
protected:
    LinuxWorkspaceTest() { std::filesystem::create_directories(menu().path()); }

    URL menu() const { return folder.file("share/applications"); }
    URL addProgram(const std::string& path) const {
        std::filesystem::create_directories(folder.file(path).deletingLastPathComponent().path());
        folder.write(path, "#!/bin/sh\n");
        std::filesystem::permissions(folder.file(path).path(), std::filesystem::perms::owner_all);
        return folder.file(path);
    }
    void addMenuEntry(const std::string& command) const {
        folder.write("share/applications/com.blackmagicdesign.resolve.desktop",
                     "[Desktop Entry]\nName=DaVinci Resolve\nExec=" + command + "\nTerminal=false\n");
    }
    std::optional<URL> find(const std::string& bundleIdentifier) const {
        return LinuxWorkspace(folder.url(), {folder.file("nothing"), menu()})
            .urlForApplication(bundleIdentifier);
    }

    TemporaryFolder folder;
};

TEST_F(LinuxWorkspaceTest, onAnEmptyMachineNothingIsInstalled) {
    EXPECT_EQ(find(kResolve), std::nullopt);
}

TEST_F(LinuxWorkspaceTest, resolveIsFoundWhereItsInstallerPutsIt) {
    const URL program = addProgram("opt/resolve/bin/resolve");
    EXPECT_EQ(find(kResolve), program);
    EXPECT_EQ(find("com.blackmagic-design.DaVinciResolveLite"), program);
}

TEST_F(LinuxWorkspaceTest, resolveIsFoundByItsMenuEntry) {
    const URL program = addProgram("home/resolve/bin/resolve");
    addMenuEntry(program.path() + " %u");
    EXPECT_EQ(find(kResolve), program);
    addMenuEntry("\"" + program.path() + "\" %u");
    EXPECT_EQ(find(kResolve), program);
}

TEST_F(LinuxWorkspaceTest, anEntryThatAnUninstalledProgramLeftBehindDoesNotCount) {
    addMenuEntry(folder.file("gone/resolve").path() + " %u");
    EXPECT_EQ(find(kResolve), std::nullopt);
    folder.write("share/applications/com.blackmagicdesign.resolve.desktop", "");
    EXPECT_EQ(find(kResolve), std::nullopt);
    addMenuEntry("\"");
    EXPECT_EQ(find(kResolve), std::nullopt);
}

TEST_F(LinuxWorkspaceTest, editorsOfOtherSystemsAreNeverInstalled) {
    addProgram("opt/resolve/bin/resolve");
    EXPECT_EQ(find("com.apple.FinalCut"), std::nullopt);
    EXPECT_EQ(find("com.adobe.PremierePro.25"), std::nullopt);
}

} // namespace
} // namespace vintra

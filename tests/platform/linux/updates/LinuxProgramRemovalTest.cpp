#include "Vintra/platform/linux/updates/LinuxProgramRemoval.h"

#include "tests/platform/linux/updates/PackageKitFixture.h"

namespace vintra {
namespace {

class LinuxProgramRemovalTest : public PackageKitFixture {
protected:
    using Outcome = ProgramRemoval::Outcome;

    std::string run() {
        LinuxProgramRemoval removal({.mainThread = loop,
                                     .fileManager = files,
                                     .cachesFolder = folder.file("cache"),
                                     .deviceOfUser = folder.file("vintra-audio.conf"),
                                     .stateFolder = folder.file("state")},
                                    bus, bus);
        std::optional<Outcome> outcome;
        removal.run([&](const Outcome& came) { outcome = came; });
        const Outcome came = awaited(outcome);
        if (std::holds_alternative<ProgramRemoval::Removed>(came)) return "removed";
        if (std::holds_alternative<ProgramRemoval::Cancelled>(came)) return "cancelled";
        return std::get<ProgramRemoval::Failed>(came).message;
    }
};

TEST_F(LinuxProgramRemovalTest, thePackageGoesAndPipeWireBeginsAnew) {
    serve({.installedAfterwards = std::vector<std::string>{}});
    folder.write("vintra-audio.conf", "a device of this user's own");
    folder.write("settings.json", "stay");
    EXPECT_EQ(run(), "removed");
    EXPECT_EQ(service->calls(),
              (std::vector<std::string>{"SetHints interactive=true background=false", "Resolve 4 vintra",
                                        "SetHints interactive=true background=false",
                                        "RemovePackages 0 vintra;1.2.3-45;amd64;installed:local no no",
                                        "SetHints interactive=true background=false", "Resolve 4 vintra",
                                        "RestartUnit pipewire.service replace"}));
    EXPECT_FALSE(files->fileExists(folder.file("vintra-audio.conf")));
    EXPECT_TRUE(files->fileExists(folder.file("settings.json")));
}

TEST_F(LinuxProgramRemovalTest, nothingStaysOfItsStateButWhatBelongsToRecordings) {
    const auto makeState = [this] {
        files->createDirectory(folder.file("state/crash-reports"));
        files->createDirectory(folder.file("state/unfinished-takes"));
        folder.write("state/crash-reports/Vintra.ips", "a crash of last week");
        folder.write("state/screencast-restore-tokens", "the desktop's leave to record");
    };
    makeState();
    serve({.installedAfterwards = std::vector<std::string>{}});
    EXPECT_EQ(run(), "removed");
    EXPECT_FALSE(files->fileExists(folder.file("state")));
    makeState();
    folder.write("state/unfinished-takes/note", "where a take lies that isn't in order yet");
    serve({.installedAfterwards = std::vector<std::string>{}});
    EXPECT_EQ(run(), "removed");
    EXPECT_TRUE(files->fileExists(folder.file("state/unfinished-takes/note")));
    EXPECT_FALSE(files->fileExists(folder.file("state/crash-reports")));
}

TEST_F(LinuxProgramRemovalTest, withoutThePasswordAllStays) {
    files->createDirectory(folder.file("state/crash-reports"));
    folder.write("vintra-audio.conf", "a device of this user's own");
    serve({.errors = {{"RemovePackages", {48, "Failed to obtain authentication."}}}});
    EXPECT_EQ(run(), "cancelled");
    EXPECT_EQ(service->calls().back(), "RemovePackages 0 vintra;1.2.3-45;amd64;installed:local no no")
        << "the sound goes on";
    serve({.refusedCall = "RemovePackages"});
    EXPECT_EQ(run(), "cancelled");
    EXPECT_TRUE(files->fileExists(folder.file("vintra-audio.conf")));
    EXPECT_TRUE(files->fileExists(folder.file("state/crash-reports")));
}

TEST_F(LinuxProgramRemovalTest, aFailureIsTold) {
    serve({.errors = {{"RemovePackages", {59, "dpkg was interrupted.\n"}}}});
    EXPECT_EQ(run(), "The package service refused (dpkg was interrupted).");
    serve({.installed = {}});
    EXPECT_EQ(run(),
              "This copy of Vintra wasn't installed from its package; delete its files where you put them.");
    serve({.installedAfterwards = std::vector<std::string>{"vintra;1.2.3-45;amd64;manual:local"}});
    EXPECT_EQ(run(), "The package service left the removal undone; try again later.");
    service.reset();
    EXPECT_TRUE(run().starts_with("PackageKit, which installs and removes packages, doesn't answer"));
}

} // namespace
} // namespace vintra

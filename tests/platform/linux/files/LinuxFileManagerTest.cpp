#include "Vintra/platform/linux/files/LinuxFileManager.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/files/UserDirectories.h"
#include "Vintra/platform/linux/files/VolumeInspector.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vintra {
namespace {

namespace fs = std::filesystem;

class LinuxFileManagerTest : public testing::Test {
protected:
    mode_t modeOf(const URL& at) const {
        struct stat status {};
        EXPECT_EQ(stat(at.path().c_str(), &status), 0);
        return status.st_mode & 07777;
    }
    template <typename Call>
    void expectError(int code, Call call) {
        try {
            call();
            FAIL() << "nothing was thrown";
        } catch (const SystemError& error) {
            EXPECT_EQ(error.domain(), "posix");
            EXPECT_EQ(error.code(), code) << error.localizedDescription();
            EXPECT_EQ(error.localizedDescription().back(), '.');
        }
    }

    TemporaryFolder folder;
    LinuxFileManager files;
};

TEST_F(LinuxFileManagerTest, aReplacedFileKeepsItsPermissions) {
    const URL original = folder.write("take.wav", "old");
    chmod(original.path().c_str(), 0640);
    const URL replacement = folder.write("new.wav", "new");
    chmod(replacement.path().c_str(), 0600);
    files.replaceItem(original, replacement);
    EXPECT_EQ(folder.read("take.wav"), "new");
    EXPECT_EQ(modeOf(original), 0640u);
    EXPECT_FALSE(files.fileExists(replacement));
}

TEST_F(LinuxFileManagerTest, aReplacementThatIsMissingLeavesTheOriginal) {
    const URL original = folder.write("take.wav", "old");
    expectError(ENOENT, [&] { files.replaceItem(original, folder.file("missing")); });
    EXPECT_EQ(folder.read("take.wav"), "old");
}

TEST_F(LinuxFileManagerTest, anAtomicWriteKeepsPermissionsAndLeavesNothingElseBehind) {
    const URL file = folder.write("timeline.otio", "old");
    chmod(file.path().c_str(), 0664);
    files.writeAtomically(file, "new text");
    EXPECT_EQ(folder.read("timeline.otio"), "new text");
    EXPECT_EQ(modeOf(file), 0664u);
    EXPECT_EQ(files.contentsOfDirectory(folder.url()), (std::vector<std::string>{"timeline.otio"}));
}

TEST_F(LinuxFileManagerTest, aNewFileHasThePermissionsThatTheUserGivesToNewFiles) {
    const mode_t before = umask(0027);
    files.writeAtomically(folder.file("a"), "text");
    files.createFile(folder.file("b"));
    umask(before);
    EXPECT_EQ(modeOf(folder.file("a")), 0640u);
    EXPECT_EQ(modeOf(folder.file("b")), 0640u);
}

TEST_F(LinuxFileManagerTest, anAtomicWriteThatFailsLeavesTheFileAndTheFolderAsTheyWere) {
    const URL file = folder.write("settings", "old");
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{1000, limit.rlim_max};
    signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    expectError(EFBIG, [&] { files.writeAtomically(file, std::string(100'000, 'x')); });
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(folder.read("settings"), "old");
    EXPECT_EQ(files.contentsOfDirectory(folder.url()), (std::vector<std::string>{"settings"}));
}

TEST_F(LinuxFileManagerTest, aFullDiskIsToldWithWhatToDo) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full on this machine";
    const auto handle = files.openForWriting(URL::fileURL("/dev/full"));
    const uint8_t byte = 0;
    try {
        handle->write(&byte, 1);
        FAIL();
    } catch (const SystemError& error) {
        EXPECT_EQ(error.code(), ENOSPC);
        EXPECT_EQ(error.localizedDescription(), "The file “/dev/full” can't be written: the disk is full. "
                                                "Free some space on it or choose another disk.");
    }
}

TEST_F(LinuxFileManagerTest, aReaderSeesTheOldTextOrTheNewOneNeverAMixtureNorNone) {
    const std::string oldText(200'000, 'a');
    const std::string newText(100'000, 'b');
    const URL file = folder.write("text", oldText);
    std::atomic<bool> ended = false;
    std::thread writer([&] {
        for (int i = 0; i < 20; ++i)
            files.writeAtomically(file, i % 2 ? oldText : newText);
        ended = true;
    });
    int mixtures = 0;
    do {
        const std::string text = folder.read("text");
        if (text != oldText && text != newText) ++mixtures;
    } while (!ended);
    writer.join();
    EXPECT_EQ(mixtures, 0);
}

TEST_F(LinuxFileManagerTest, writingFollowsALink) {
    folder.write("real", "old");
    fs::create_symlink("real", folder.file("link").path());
    files.writeAtomically(folder.file("link"), "new");
    EXPECT_EQ(folder.read("real"), "new");
    EXPECT_TRUE(fs::is_symlink(folder.file("link").path()));
    files.replaceItem(folder.file("link"), folder.write("third", "newer"));
    EXPECT_EQ(folder.read("real"), "newer");
    EXPECT_TRUE(fs::is_symlink(folder.file("link").path()));
}

TEST_F(LinuxFileManagerTest, foldersAreMadeWithAllThatIsMissingOnTheWay) {
    files.createDirectory(folder.file("a/b/c"));
    files.createDirectory(folder.file("a/b/c")); // no error
    EXPECT_TRUE(fs::is_directory(folder.file("a/b/c").path()));
    folder.write("file", "");
    expectError(EEXIST, [&] { files.createDirectory(folder.file("file")); });
    expectError(ENOTDIR, [&] { files.createDirectory(folder.file("file/below")); });
    expectError(ENAMETOOLONG, [&] { files.createDirectory(folder.file(std::string(300, 'x'))); });
}

TEST_F(LinuxFileManagerTest, writingIntoAnExistingFileKeepsTheRest) {
    const URL file = folder.write("wav", "0123456789");
    const auto handle = files.openForWriting(file);
    handle->seek(4);
    handle->write(reinterpret_cast<const uint8_t*>("AB"), 2);
    handle->close();
    EXPECT_EQ(folder.read("wav"), "0123AB6789");
    expectError(ENOENT, [&] { files.openForWriting(folder.file("missing")); });
}

TEST_F(LinuxFileManagerTest, namesThatAreNoTextPassThrough) {
    const std::string name = "na\xefve\n.wav";
    files.createFile(folder.file(name));
    EXPECT_EQ(files.contentsOfDirectory(folder.url()), (std::vector<std::string>{name}));
    EXPECT_TRUE(files.fileExists(folder.file(name)));
}

TEST(UserDirectoriesTest, theVideosFolderIsReadAsTheFileIsWritten) {
    const URL home = URL::fileURL("/home/ada");
    const auto folderOf = [&](const std::string& text) {
        const auto folder = videosDirectoryOfText(text, home);
        return folder ? folder->path() : "none";
    };
    EXPECT_EQ(folderOf("XDG_VIDEOS_DIR=\"$HOME/Films\"\n"), "/home/ada/Films");
    EXPECT_EQ(folderOf("# XDG_VIDEOS_DIR=\"$HOME/Old\"\n  XDG_VIDEOS_DIR = \"/data/My \\\"Films\\\"\""),
              "/data/My \"Films\"");
    EXPECT_EQ(folderOf("XDG_VIDEOS_DIR=\"$HOME/A\"\nXDG_VIDEOS_DIR=\"$HOME/B/\"\n"), "/home/ada/B");
    EXPECT_EQ(folderOf("XDG_MUSIC_DIR=\"$HOME/Music\"\n"), "none");
    EXPECT_EQ(folderOf("XDG_VIDEOS_DIR=\"$HOME/\"\n"), "none");
    EXPECT_EQ(folderOf("XDG_VIDEOS_DIR=\"relative\"\n"), "none");
    EXPECT_EQ(folderOf("XDG_VIDEOS_DIR=\"$HOMER/Films\"\n"), "none");
    EXPECT_EQ(folderOf("XDG_VIDEOS_DIR=\"/open"), "none");
    EXPECT_EQ(folderOf("XDG_VIDEOS_DIR"), "none");
    EXPECT_EQ(folderOf(""), "none");
}

/// Scripted disks, laid out as the kernel shows them.
class VolumeInspectorTest : public testing::Test {
protected:
    void addDisk(const std::string& numbers, const std::string& place, int removable) {
        const fs::path device = fs::path(folder.url().path()) / "devices" / place;
        fs::create_directories(device / "slaves");
        std::ofstream(device / "removable") << removable << "\n";
        link(numbers, device);
    }
    void addPartition(const std::string& numbers, const std::string& place) {
        const fs::path device = fs::path(folder.url().path()) / "devices" / place;
        fs::create_directories(device);
        std::ofstream(device / "partition") << "1\n";
        link(numbers, device);
    }
    void addSlave(const std::string& place, const std::string& slavePlace) {
        const fs::path devices = fs::path(folder.url().path()) / "devices";
        fs::create_symlink(devices / slavePlace,
                           devices / place / "slaves" / fs::path(slavePlace).filename());
    }
    void link(const std::string& numbers, const fs::path& device) {
        const fs::path block = fs::path(folder.url().path()) / "dev" / "block";
        fs::create_directories(block);
        fs::create_symlink(device, block / numbers);
    }

    TemporaryFolder folder;
    VolumeInspector inspector{folder.url().path()};
};

TEST_F(VolumeInspectorTest, aBuiltInDiskAndItsPartitionAreInside) {
    addDisk("259:0", "pci0000:00/nvme/nvme0n1", 0);
    addPartition("259:1", "pci0000:00/nvme/nvme0n1/nvme0n1p1");
    EXPECT_EQ(inspector.deviceIsInternal(259, 0), true);
    EXPECT_EQ(inspector.deviceIsInternal(259, 1), true);
}

TEST_F(VolumeInspectorTest, aDiskBehindUSBAndARemovableOneAreOutside) {
    addDisk("8:16", "pci0000:00/usb2/2-1/host6/block/sdb", 0);
    addPartition("8:17", "pci0000:00/usb2/2-1/host6/block/sdb/sdb1");
    addDisk("179:0", "pci0000:00/mmc_host/mmcblk0", 1);
    EXPECT_EQ(inspector.deviceIsInternal(8, 17), false);
    EXPECT_EQ(inspector.deviceIsInternal(179, 0), false);
}

TEST_F(VolumeInspectorTest, aDiskOfSeveralPartsIsInsideOnlyIfAllAre) {
    addDisk("8:0", "pci0000:00/ata1/block/sda", 0);
    addPartition("8:1", "pci0000:00/ata1/block/sda/sda1");
    addDisk("8:16", "pci0000:00/usb2/block/sdb", 0);
    addDisk("253:0", "virtual/block/dm-0", 0);
    addSlave("virtual/block/dm-0", "pci0000:00/ata1/block/sda/sda1");
    EXPECT_EQ(inspector.deviceIsInternal(253, 0), true);
    addSlave("virtual/block/dm-0", "pci0000:00/usb2/block/sdb");
    EXPECT_EQ(inspector.deviceIsInternal(253, 0), false);
}

TEST_F(VolumeInspectorTest, whatCannotBeReadIsNothing) {
    addDisk("7:0", "virtual/block/loop0", 0);
    EXPECT_EQ(inspector.deviceIsInternal(7, 0), std::nullopt);
    EXPECT_EQ(inspector.deviceIsInternal(99, 99), std::nullopt);
    addDisk("253:1", "virtual/block/dm-1", 0);
    addSlave("virtual/block/dm-1", "virtual/block/dm-1"); // a circle
    EXPECT_EQ(inspector.deviceIsInternal(253, 1), std::nullopt);
    EXPECT_EQ(VolumeInspector("/nowhere", "/nowhere").isInternal(folder.url()), std::nullopt);
}

} // namespace
} // namespace vintra

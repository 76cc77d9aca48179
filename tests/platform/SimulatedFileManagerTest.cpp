#include "Vintra/platform/simulated/SimulatedFileManager.h"

#include <cerrno>
#include <functional>
#include <gtest/gtest.h>

namespace vintra {
namespace {

class SimulatedFileManagerTest : public testing::Test {
protected:
    SimulatedFileManager files;

    void write(FileHandle& handle, const std::string& text) {
        handle.write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    }
    int errorOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const SystemError& error) {
            return error.code();
        }
        return 0;
    }
};

TEST_F(SimulatedFileManagerTest, aFullDiskTakesWhatFitsAndThenThrows) {
    files.put("/tmp/other", "12345");
    files.createFile(URL::fileURL("/tmp/a"));
    files.disk->capacityBytes = 12;
    const auto handle = files.openForWriting(URL::fileURL("/tmp/a"));
    write(*handle, "abcd");
    EXPECT_EQ(errorOf([&] { write(*handle, "efgh"); }), ENOSPC);
    EXPECT_EQ(files.contents("/tmp/a"), "abcdefg");
    EXPECT_EQ(files.contents("/tmp/other"), "12345");
}

TEST_F(SimulatedFileManagerTest, overwritingNeedsNoRoom) {
    files.put("/tmp/a", "abcd");
    files.disk->capacityBytes = 4;
    const auto handle = files.openForWriting(URL::fileURL("/tmp/a"));
    write(*handle, "WXYZ");
    EXPECT_EQ(files.contents("/tmp/a"), "WXYZ");
}

TEST_F(SimulatedFileManagerTest, anAtomicWriteOnAFullDiskLeavesTheFileAsItWas) {
    files.put("/tmp/a", "old");
    files.disk->capacityBytes = 8;
    EXPECT_EQ(errorOf([&] { files.writeAtomically(URL::fileURL("/tmp/a"), "longer"); }), ENOSPC);
    EXPECT_EQ(files.contents("/tmp/a"), "old");
}

TEST_F(SimulatedFileManagerTest, scriptedFailuresHappenToTheOperationAndThePathTheyName) {
    files.put("/tmp/a", "old");
    files.disk->fails = [](SimulatedFileOperation operation, const std::string& path) {
        return operation == SimulatedFileOperation::close && path == "/tmp/a";
    };
    const auto failing = files.openForWriting(URL::fileURL("/tmp/a"));
    EXPECT_EQ(errorOf([&] { failing->close(); }), EIO);
    const auto reading = files.openForReading(URL::fileURL("/tmp/a"));
    uint8_t byte = 0;
    EXPECT_EQ(reading->read(&byte, 1), 1u);
    files.createFile(URL::fileURL("/tmp/b"));
    EXPECT_EQ(errorOf([&] { files.openForWriting(URL::fileURL("/tmp/b"))->close(); }), 0);
}

TEST_F(SimulatedFileManagerTest, aFileThatIsOnlyReadIsNotChanged) {
    files.put("/tmp/earlier.wav", "precious");
    files.openForReading(URL::fileURL("/tmp/earlier.wav"))->close();
    EXPECT_FALSE(files.wasChanged("/tmp/earlier.wav"));
    files.openForWriting(URL::fileURL("/tmp/earlier.wav"))->close();
    EXPECT_TRUE(files.wasChanged("/tmp/earlier.wav"));
}

TEST_F(SimulatedFileManagerTest, aReplacementChangesBothPaths) {
    files.put("/tmp/a", "old");
    files.put("/tmp/b", "new");
    files.replaceItem(URL::fileURL("/tmp/a"), URL::fileURL("/tmp/b"));
    EXPECT_TRUE(files.wasChanged("/tmp/a"));
    EXPECT_TRUE(files.wasChanged("/tmp/b"));
    EXPECT_EQ(files.paths(), std::vector<std::string>{"/tmp/a"});
}

TEST_F(SimulatedFileManagerTest, aVolumeIsWhereItsLongestMountPointSaysItIs) {
    files.volumes["/media"] = false;
    files.volumes["/media/odd"] = std::nullopt;
    EXPECT_EQ(files.volumeIsInternal(URL::fileURL("/home/user/Videos")), true);
    EXPECT_EQ(files.volumeIsInternal(URL::fileURL("/media/stick/take")), false);
    EXPECT_EQ(files.volumeIsInternal(URL::fileURL("/media/odd/take")), std::nullopt);
    EXPECT_EQ(files.volumeIsInternal(URL::fileURL("/mediation")), true);
}

TEST_F(SimulatedFileManagerTest, aRingOfLinksIsNothing) {
    files.putLink("/tmp/one", "two");
    files.putLink("/tmp/two", "one");
    EXPECT_FALSE(files.fileExists(URL::fileURL("/tmp/one")));
}

} // namespace
} // namespace vintra

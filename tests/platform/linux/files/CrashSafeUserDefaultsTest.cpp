#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include "Vintra/platform/linux/files/CrashSafeUserDefaults.h"
#include "Vintra/platform/linux/files/MemoryUserDefaults.h"
#include "Vintra/platform/simulated/SimulatedLog.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <unistd.h>

namespace vintra {
namespace {

class CrashSafeUserDefaultsTest : public ::testing::Test {
protected:
    std::unique_ptr<CrashSafeUserDefaults> open() {
        return std::make_unique<CrashSafeUserDefaults>(others, "way back", file, log);
    }
    std::optional<std::string> onDisk() const {
        std::ifstream stream(file.path());
        if (!stream) return std::nullopt;
        return std::string{std::istreambuf_iterator<char>(stream), {}};
    }

    TemporaryFolder folder;
    URL file = folder.file("state/vintra/way back");
    std::shared_ptr<MemoryUserDefaults> others = std::make_shared<MemoryUserDefaults>();
    std::shared_ptr<SimulatedLog> log = std::make_shared<SimulatedLog>();
};

TEST_F(CrashSafeUserDefaultsTest, theKeyIsOnDiskWhenItsChangeReturns) {
    const auto defaults = open();
    EXPECT_EQ(defaults->value("way back"), std::nullopt);
    defaults->set("way back", std::string("alsa_output.pci"));
    EXPECT_EQ(onDisk(), "alsa_output.pci");
    defaults->set("way back", std::string("usb"));
    EXPECT_EQ(onDisk(), "usb");
    defaults->remove("way back");
    EXPECT_EQ(onDisk(), std::nullopt);
    EXPECT_EQ(defaults->value("way back"), std::nullopt);
    defaults->remove("way back");
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(CrashSafeUserDefaultsTest, theNextRunFindsIt) {
    open()->set("way back", std::string("usb"));
    EXPECT_EQ(open()->value("way back"), DefaultsValue(std::string("usb")));
}

TEST_F(CrashSafeUserDefaultsTest, aRunThatNotedNothingLeavesAnothersNote) {
    const auto before = open();
    open()->set("way back", std::string("usb"));
    before->remove("way back");
    EXPECT_EQ(onDisk(), "usb");
}

TEST_F(CrashSafeUserDefaultsTest, aRunThatIsKilledAtThatInstantLeavesIt) {
    const pid_t child = fork();
    if (child == 0) {
        open()->set("way back", std::string("usb"));
        ::kill(::getpid(), SIGKILL);
    }
    ASSERT_GT(child, 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(open()->value("way back"), DefaultsValue(std::string("usb")));
}

TEST_F(CrashSafeUserDefaultsTest, otherKeysAreLeftToTheOthers) {
    const auto defaults = open();
    defaults->set("gain", 3.5);
    EXPECT_EQ(others->value("gain"), DefaultsValue(3.5));
    EXPECT_EQ(defaults->value("gain"), DefaultsValue(3.5));
    defaults->remove("gain");
    EXPECT_EQ(others->value("gain"), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(file.path()));
}

TEST_F(CrashSafeUserDefaultsTest, whereNothingCanBeWrittenTheRunGoesOnAndTheLogSaysSo) {
    std::ofstream(folder.file("state").path()) << "a file where the folder should be";
    const auto defaults = open();
    defaults->set("way back", std::string("usb"));
    EXPECT_EQ(defaults->value("way back"), DefaultsValue(std::string("usb")));
    ASSERT_EQ(log->lines().size(), 1u);
    EXPECT_EQ(log->lines()[0].category, "settings");
}

TEST_F(CrashSafeUserDefaultsTest, theFileIsOfTheSession) {
    const std::string path = CrashSafeUserDefaults::standardFile("key").path();
    const char* const session = std::getenv("XDG_RUNTIME_DIR");
    if (!session) GTEST_SKIP() << "there is no session";
    EXPECT_NE(path.find("/vintra/key."), std::string::npos) << path;
}

} // namespace
} // namespace vintra

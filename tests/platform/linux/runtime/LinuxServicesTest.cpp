#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "Vintra/platform/linux/runtime/LinuxProcessInfo.h"
#include "Vintra/platform/linux/runtime/LinuxWallClock.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace vintra {
namespace {

TEST(LinuxHostClockTest, itIsTheMonotonicClockAndNeverGoesBack) {
    LinuxHostClock clock;
    const CMTime before = hostTimeFromNanoseconds(monotonicNanoseconds());
    CMTime last = clock.now();
    EXPECT_GE(last, before);
    EXPECT_EQ(last.timescale, kHostTimescale);
    for (int i = 0; i < 10'000; ++i) {
        const CMTime next = clock.now();
        ASSERT_GE(next, last);
        last = next;
    }
    EXPECT_LE(last, hostTimeFromNanoseconds(monotonicNanoseconds()));
}

TEST(LinuxHostClockTest, aSleepLastsAtLeastAsLongAsAskedAndNoTimeAtAllForNone) {
    LinuxHostClock clock;
    const int64_t begin = monotonicNanoseconds();
    clock.sleep(3'000);
    EXPECT_GE(monotonicNanoseconds() - begin, 3'000'000);
    clock.sleep(0);
    clock.sleep(-5);
}

TEST(LinuxWallClockTest, anInstantIsShownInTheUsersZone) {
    const char* zone = std::getenv("TZ");
    const std::string before = zone ? zone : "";
    setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
    tzset();
    // 2024-02-29 12:34:56.75 UTC: five hours earlier in New York's winter.
    const LocalTime time = LinuxWallClock().localTime({1'709'210'096.75});
    if (zone)
        setenv("TZ", before.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
    EXPECT_EQ(time.year, 2024);
    EXPECT_EQ(time.month, 2);
    EXPECT_EQ(time.day, 29);
    EXPECT_EQ(time.hour, 7);
    EXPECT_EQ(time.minute, 34);
    EXPECT_EQ(time.second, 56);
}

TEST(LinuxProcessInfoTest, identitiesAreRandomOfVersionFour) {
    LinuxProcessInfo process;
    EXPECT_EQ(process.processIdentifier(), getpid());
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const std::string text = process.makeUUID().uuidString();
        EXPECT_EQ(text.size(), 36u);
        EXPECT_EQ(text[14], '4');
        EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
        EXPECT_TRUE(seen.insert(text).second);
    }
}

class LinuxLogTest : public testing::Test {
protected:
    LinuxLogTest()
        : descriptor(open(folder.file("log").path().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)) {}
    ~LinuxLogTest() override { close(descriptor); }

    TemporaryFolder folder;
    const int descriptor;
};

TEST_F(LinuxLogTest, linesBelowTheLevelAreLeftOutAndTheOthersStayOneLine) {
    LinuxLog log(LogLevel::standard, descriptor);
    EXPECT_FALSE(log.isEnabled(LogLevel::info));
    EXPECT_TRUE(log.isEnabled(LogLevel::error));
    log.write("video", LogLevel::info, "unheard");
    log.write("video", LogLevel::error, "two\nlines");
    const std::string text = folder.read("log");
    EXPECT_EQ(text.find("unheard"), std::string::npos);
    EXPECT_TRUE(text.ends_with(" error video: two lines\n")) << text;
}

TEST_F(LinuxLogTest, aLineForTheJournalBeginsWithItsLevelMark) {
    struct stat status {};
    ASSERT_EQ(fstat(descriptor, &status), 0);
    const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    setenv("JOURNAL_STREAM", stream.c_str(), 1);
    LinuxLog log(LogLevel::info, descriptor);
    unsetenv("JOURNAL_STREAM");
    log.write("audio", LogLevel::error, "gone");
    log.write("audio", LogLevel::info, "here");
    EXPECT_EQ(folder.read("log"), "<3>audio: gone\n<6>audio: here\n");
}

} // namespace
} // namespace vintra

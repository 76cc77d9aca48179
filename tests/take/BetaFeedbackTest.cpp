#include "tests/take/RecorderFixture.h"

#include "Vintra/take/BetaFeedback.h"

#include <string>

namespace vintra {
namespace {

constexpr double kHour = 3600;

class LatestCrashReportTest : public ::testing::Test {
protected:
    void put(const std::string& name, double hoursAgo, const std::string& text) {
        const std::string path = "/reports/" + name;
        machine.fileManager->put(path, text);
        machine.fileManager->setContentModificationDate(
            path, Date{machine.wallClock->now().secondsSince1970 - hoursAgo * kHour});
    }
    std::optional<std::string> latest(size_t maxCharacters = 12'000) {
        return BetaFeedback::latestCrashReport(*machine.fileManager, folder, machine.wallClock->now(),
                                               maxCharacters);
    }

    SimulatedMachine machine;
    CrashReportFolder folder{.folder = URL::fileURL("/reports"), .pathExtension = "ips"};
};

TEST_F(LatestCrashReportTest, theNewestOfThisProgramIsFound) {
    put("Vintra-2.ips", 2, "older");
    put("Vintra-1.ips", 1, "newer");
    put("Other-1.ips", 0.5, "another program's");
    put("Vintra-3.txt", 0.1, "no report");
    put(".Vintra-4.ips", 0.1, "hidden");
    EXPECT_EQ(latest(), "newer");
}

TEST_F(LatestCrashReportTest, aReportOfMoreThanADayAgoIsNotTheLastRuns) {
    put("Vintra.ips", 25, "text");
    EXPECT_EQ(latest(), std::nullopt);
    put("Vintra.ips", 24, "text");
    EXPECT_EQ(latest(), std::nullopt) << "a day exactly is too old";
    put("Vintra.ips", 23, "text");
    EXPECT_EQ(latest(), "text");
}

TEST_F(LatestCrashReportTest, aReportWithoutADateDoesNotCount) {
    put("Vintra.ips", 1, "dated");
    machine.fileManager->put("/reports/Vintra-new.ips", "undated");
    EXPECT_EQ(latest(), "dated");
}

TEST_F(LatestCrashReportTest, aLongReportIsCutAndSaysWhereTheRestIs) {
    put("Vintra.ips", 1, "äöü and more");
    EXPECT_EQ(latest(12), "äöü and more");
    EXPECT_EQ(latest(3), "äöü\n\n[truncated — full report at /reports/Vintra.ips]");
}

TEST_F(LatestCrashReportTest, whatCannotBeReadGivesNothing) {
    EXPECT_EQ(latest(), std::nullopt) << "no folder";
    put("Vintra.ips", 1, "no \xFF text");
    EXPECT_EQ(latest(), std::nullopt);
    put("Vintra.ips", 1, "text");
    machine.fileManager->disk->fails = [](SimulatedFileOperation operation, const std::string&) {
        return operation == SimulatedFileOperation::read;
    };
    EXPECT_EQ(latest(), std::nullopt);
    folder.folder = URL();
    EXPECT_EQ(latest(), std::nullopt);
}

/// What a launch makes of how the run before ended.
class CrashPickUpTest : public RecorderFixture {
protected:
    void SetUp() override {
        machine.fileManager->put("/reports/Vintra.ips", std::string(13'000, 'x'));
        machine.fileManager->setContentModificationDate("/reports/Vintra.ips", machine.wallClock->now());
        RecorderFixture::SetUp();
    }
    void relaunch() {
        recorder.reset();
        makeRecorder();
    }
};

TEST_F(CrashPickUpTest, aFirstLaunchLooksForNothing) {
    EXPECT_EQ(*recorder->pendingCrashReport, std::nullopt);
    EXPECT_EQ(boolForKey(*machine.userDefaults, "vintraWasRunning"), true);
}

TEST_F(CrashPickUpTest, aLaunchAfterACrashFindsItsReport) {
    relaunch();
    ASSERT_TRUE(*recorder->pendingCrashReport);
    EXPECT_EQ((*recorder->pendingCrashReport)->substr(0, 12'002), std::string(12'000, 'x') + "\n\n");
    EXPECT_TRUE(recorder->crashReportForSharing().starts_with("========== CRASH REPORT ==========\nxxx"));
}

TEST_F(CrashPickUpTest, aLaunchAfterACleanExitFindsNothing) {
    recorder->noteCleanExit();
    EXPECT_EQ(boolForKey(*machine.userDefaults, "vintraWasRunning"), false);
    relaunch();
    EXPECT_EQ(*recorder->pendingCrashReport, std::nullopt);
    EXPECT_TRUE(
        recorder->crashReportForSharing().starts_with("========== SETUP / DIAGNOSTICS ==========\nVintra "));
}

TEST_F(CrashPickUpTest, aCrashWithoutAReportIsNotTold) {
    machine.fileManager->removeItem(URL::fileURL("/reports/Vintra.ips"));
    relaunch();
    EXPECT_EQ(*recorder->pendingCrashReport, std::nullopt);
    EXPECT_EQ(lastError(), "");
}

} // namespace
} // namespace vintra

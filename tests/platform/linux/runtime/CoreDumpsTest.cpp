#include "Vintra/platform/linux/runtime/CoreDumps.h"

#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/runtime/LinuxWallClock.h"
#include "Vintra/take/BetaFeedback.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace vintra {
namespace {

constexpr const char* kDump = R"(           PID: 4711 (vintra)
           UID: 1000 (user)
        Signal: 11 (SEGV)
     Timestamp: Sun 2026-11-22 03:15:00 UTC (2h ago)
    Executable: /usr/bin/vintra

                Stack trace of thread 4711:
                #0  0x000055d0c0ffee00 recordsNothing (vintra + 0x1e00)
)";

/// A machine on which coredumpctl is a script of the test's own.
class CoreDumpsTest : public ::testing::Test {
protected:
    void SetUp() override { ::setenv("PATH", (programs.url().path() + ":" + before).c_str(), 1); }
    void TearDown() override { ::setenv("PATH", before.c_str(), 1); }

    /// `script` runs with the arguments that coredumpctl is given.
    void install(const std::string& script) const {
        const std::string path = programs.file("coredumpctl").path();
        std::ofstream(path) << "#!/bin/sh\n" << script << "\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }
    void installOneThatTells(const std::string& dump) const {
        std::ofstream(programs.file("dump").path()) << dump;
        install("echo \"$@\" > '" + programs.file("asked").path() + "'; exec cat '" +
                programs.file("dump").path() + "'");
    }
    void gather() const { CoreDumps::gather(reports.url(), "Vintra", "/usr/bin/vintra"); }
    size_t reportCount() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(reports.url().path()),
                                                 std::filesystem::directory_iterator()));
    }
    std::optional<std::string> latest() const {
        LinuxFileManager files;
        return BetaFeedback::latestCrashReport(files, {.folder = reports.url(), .pathExtension = "crash"},
                                               LinuxWallClock().now(), 12'000);
    }

    const std::string before = std::getenv("PATH");
    TemporaryFolder programs;
    TemporaryFolder reports;
};

TEST_F(CoreDumpsTest, aDumpOfTheProgramIsAReportOnce) {
    installOneThatTells(kDump);
    gather();
    EXPECT_EQ(latest(), "What the system has kept of a crash of Vintra:\n\n" + std::string(kDump));
    std::string asked;
    std::getline(std::ifstream(programs.file("asked").path()), asked);
    EXPECT_EQ(asked, "info -1 --no-pager --since=-24h /usr/bin/vintra");
    gather();
    EXPECT_EQ(reportCount(), 1u);
}

TEST_F(CoreDumpsTest, aCrashThatTheProgramReportedItselfIsToldOnce) {
    installOneThatTells(kDump);
    std::ofstream(reports.file("Vintra-2026-11-22-031500-4711.crash").path()) << "its own";
    gather();
    EXPECT_EQ(reportCount(), 1u);
    EXPECT_EQ(latest(), "its own");
}

TEST_F(CoreDumpsTest, whereThereIsNoneNothingIsWritten) {
    install("echo 'No coredumps found.' >&2; exit 1");
    gather();
    installOneThatTells("something else");
    gather();
    EXPECT_EQ(reportCount(), 0u);
}

TEST_F(CoreDumpsTest, aCommandThatHangsIsGivenUp) {
    install("echo 'PID: 4711 (vintra)'; exec sleep 100");
    const auto begin = std::chrono::steady_clock::now();
    gather();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
    EXPECT_EQ(reportCount(), 0u);
}

} // namespace
} // namespace vintra

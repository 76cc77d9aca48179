#include "Vintra/platform/linux/runtime/CrashReporter.h"

#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vintra {
namespace {

namespace fs = std::filesystem;

const CrashReporter::Program kProgram{
    .name = "Vintra", .version = "1.2.3 (build 4)", .machine = "Debian 12 · Some Computer"};

/// Calls that a report of this process names.
extern "C" [[gnu::noinline]] void crashReporterTestReadsNothing() {
    volatile int* volatile nowhere = nullptr; // read, so that the compiler doesn't know
    *nowhere = 1;
}
[[gnu::noinline]] void overflowTheStack(volatile char* before) {
    volatile char here[4096];
    here[0] = before == nullptr ? 1 : before[0];
    if (here[0] != 2) overflowTheStack(here); // always
    here[1] = here[0];
}

bool isAsleep(pid_t thread) {
    std::ostringstream text;
    text << std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat").rdbuf();
    return text.str().find(") S ") != std::string::npos;
}

class CrashReporterTest : public ::testing::Test {
protected:
    /// Runs the crash in a process of its own and gives the signal that ended it.
    int crash(const std::function<void()>& how) {
        const pid_t child = fork();
        if (child == 0) {
            const rlimit noCore{};
            setrlimit(RLIMIT_CORE, &noCore);
            CrashReporter::install(folder(), kProgram);
            CrashReporter::noteLogLine("the last line");
            how();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }
    URL folder() const { return temporary.file("reports"); }
    std::vector<fs::path> reports(const std::string& extension) const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(folder().path())) {
            if (entry.path().extension() == extension) found.push_back(entry.path());
        }
        return found;
    }
    /// The one report, as the next launch finishes it.
    std::string finishedReport() const {
        const pid_t child = fork();
        if (child == 0) {
            CrashReporter::install(folder(), kProgram);
            _exit(0);
        }
        waitpid(child, nullptr, 0);
        EXPECT_TRUE(reports(".raw").empty());
        const auto found = reports(".crash");
        if (found.size() != 1) {
            ADD_FAILURE() << found.size() << " reports";
            return "";
        }
        EXPECT_TRUE(found.front().filename().string().starts_with("Vintra-20")) << found.front();
        std::ostringstream text;
        text << std::ifstream(found.front()).rdbuf();
        return text.str();
    }
    static bool has(const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    }

    TemporaryFolder temporary;
};

TEST_F(CrashReporterTest, aCrashLeavesWhatItWasAndWhere) {
#ifdef VINTRA_SANITIZED
    GTEST_SKIP() << "the sanitizer has a report of its own";
#endif
    EXPECT_EQ(crash([] { crashReporterTestReadsNothing(); }), SIGSEGV) << "the signal still ends the process";
    ASSERT_EQ(reports(".raw").size(), 1u);
    const std::string text = finishedReport();
    EXPECT_TRUE(text.starts_with("Vintra 1.2.3 (build 4)\nDebian 12 · Some Computer\nTime: 20")) << text;
    EXPECT_TRUE(has(text, "Signal: 11 (SIGSEGV, memory that isn't there) at 0x0\n")) << text;
    EXPECT_TRUE(has(text, ", which crashed:\n")) << text;
    EXPECT_TRUE(has(text, "crashReporterTestReadsNothing")) << text;
    EXPECT_TRUE(has(text, "\nLast lines of the log:\n") && has(text, "\nthe last line\n")) << text;
}

TEST_F(CrashReporterTest, everyThreadTellsItsCalls) {
#ifdef VINTRA_SANITIZED
    GTEST_SKIP() << "the sanitizer has a report of its own";
#endif
    crash([] {
        std::atomic<pid_t> thread{0};
        std::thread waits([&] {
            thread = gettid();
            pause();
        });
        pthread_setname_np(waits.native_handle(), "waiting-thread");
        while (thread == 0 || !isAsleep(thread))
            std::this_thread::yield();
        std::thread crashes([] { std::abort(); });
        crashes.join();
        waits.join();
    });
    const std::string text = finishedReport();
    EXPECT_TRUE(has(text, "Signal: 6 (SIGABRT, the program gave up)\n")) << text;
    const size_t thread = text.find(" waiting-thread:\n");
    ASSERT_NE(thread, std::string::npos) << text;
    EXPECT_NE(text.find("pause", thread), std::string::npos) << text;
    EXPECT_FALSE(has(text, "doesn't answer")) << text;
}

TEST_F(CrashReporterTest, aStackThatOverflowsIsReportedToo) {
#ifdef VINTRA_SANITIZED
    GTEST_SKIP() << "the sanitizer has a report of its own";
#endif
    EXPECT_EQ(crash([] { overflowTheStack(nullptr); }), SIGSEGV);
    EXPECT_TRUE(has(finishedReport(), "SIGSEGV"));
}

TEST_F(CrashReporterTest, twoThreadsThatCrashAtOnceLeaveOneReport) {
#ifdef VINTRA_SANITIZED
    GTEST_SKIP() << "the sanitizer has a report of its own";
#endif
    const int signal = crash([] {
        std::thread first([] { crashReporterTestReadsNothing(); });
        std::thread second([] { std::abort(); });
        first.join();
        second.join();
    });
    EXPECT_TRUE(signal == SIGSEGV || signal == SIGABRT) << signal;
    EXPECT_TRUE(has(finishedReport(), "\nLast lines of the log:\n"));
}

TEST_F(CrashReporterTest, theTenNewestReportsAreKept) {
    fs::create_directories(folder().path());
    for (int n = 10; n < 25; ++n)
        std::ofstream(folder().path() + "/Vintra-2026-01-" + std::to_string(n) + "-000000-1.crash") << n;
    std::ofstream(folder().path() + "/Vintra-2026-01-25-000000-1.raw") << "raw";
    std::ofstream(folder().path() + "/Other-2026-01-01-000000-1.crash") << "another program's";
    const pid_t child = fork();
    if (child == 0) {
        CrashReporter::install(folder(), kProgram);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ(reports(".crash").size(), 11u);
    EXPECT_TRUE(fs::exists(folder().path() + "/Vintra-2026-01-25-000000-1.crash"));
    EXPECT_FALSE(fs::exists(folder().path() + "/Vintra-2026-01-15-000000-1.crash"));
    EXPECT_TRUE(fs::exists(folder().path() + "/Vintra-2026-01-16-000000-1.crash"));
    EXPECT_TRUE(fs::exists(folder().path() + "/Other-2026-01-01-000000-1.crash"));
}

TEST(CrashReporterNames, manglingIsUndoneWhereverItStands) {
    EXPECT_EQ(CrashReporter::demangled("bin(_ZN6vintra10ScreenBeat4tickEv+0x1f)[0x55]\nplain (main+0x2)"),
              "bin(vintra::ScreenBeat::tick()+0x1f)[0x55]\nplain (main+0x2)");
    EXPECT_EQ(CrashReporter::demangled("_Znonsense and _Z"), "_Znonsense and _Z");
}

} // namespace
} // namespace vintra

// The program's window on a Wayland desktop, looked at with other eyes.

#include "tests/platform/linux/wayland/WaylandSession.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace vintra {
namespace {

constexpr const char* kShownOn = "HEADLESS-1";
constexpr uint32_t kAccent = 0x7fd5ff; // the record button's colour
constexpr int kButtonWidth = 212;
constexpr int kCovered = 8; // pixels at its edges: the hint of the control bar may lie there

class WaylandWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!WaylandSession::isThere()) GTEST_SKIP() << "there is no Wayland session";
        if (!std::filesystem::exists(WaylandSession::program("vintra")))
            GTEST_SKIP() << "this build has no windows";
        WaylandSession::choose(kShownOn);
        ASSERT_TRUE(WaylandSession::resize(kShownOn, 1920, 1080));
    }
    void TearDown() override { WaylandSession::sway({"output", kShownOn, "scale", "1"}); }

    std::unique_ptr<ChildProcess> start() const {
        const char* const options = std::getenv("ASAN_OPTIONS");
        return std::make_unique<ChildProcess>(
            std::vector<std::string>{WaylandSession::program("vintra")},
            std::vector<std::string>{
                "HOME=" + home.url().path(), "XDG_CONFIG_HOME=" + home.file("config").path(),
                "XDG_STATE_HOME=" + home.file("state").path(), "XDG_DATA_HOME=" + home.file("data").path(),
                "QT_QPA_PLATFORM=wayland",
                // What Qt and its fonts keep to their end is nobody's leak.
                "ASAN_OPTIONS=" + std::string(options ? options : "") + ":detect_leaks=0"});
    }
    static bool await(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return true;
    }
    static ProgramRun give(const std::string& option) {
        return runProgram({WaylandSession::program("vintra"), option});
    }
    /// The most pixels of the record button's colour in a row on the screen.
    static int buttonWidth() {
        const ScreenPicture screen = WaylandSession::screenshot(kShownOn);
        int longest = 0;
        for (int y = 0; y < screen.height; ++y) {
            int run = 0;
            for (int x = 0; x < screen.width; ++x) {
                run = screen.at(x, y) == kAccent ? run + 1 : 0;
                longest = std::max(longest, run);
            }
        }
        return longest;
    }
    /// For whoever wants to look.
    static void leavePicture(const std::string& name) {
        const std::string folder = WaylandSession::program("../pictures");
        if (std::filesystem::is_directory(folder)) runProgram({"grim", folder + "/" + name + ".png"});
    }

    const TemporaryFolder home;
};

TEST_F(WaylandWindowTest, itHasItsSizeAtEveryScale) {
    for (const char* const scale : {"1", "1.25", "2"}) {
        ASSERT_TRUE(WaylandSession::sway({"output", kShownOn, "scale", scale}));
        const auto program = start();
        const double wanted = kButtonWidth * std::atof(scale);
        int found = 0;
        EXPECT_TRUE(await([&] {
            found = buttonWidth();
            return std::abs(found - wanted) <= kCovered;
        })) << "at scale "
            << scale << ": " << found;
        leavePicture(std::string("wayland-") + scale);
        program->signal(SIGTERM);
        EXPECT_EQ(program->wait(), 0);
    }
}

TEST_F(WaylandWindowTest, itRecordsTheDisplay) {
    const auto program = start();
    ASSERT_TRUE(await([] { return buttonWidth() > kButtonWidth / 2; }));
    const ProgramRun started = give("--start");
    EXPECT_EQ(started.exitCode, 0) << started.errors;
    leavePicture("wayland-recording");
    const ProgramRun stopped = give("--stop");
    EXPECT_EQ(stopped.output.find("Saved"), 0u) << stopped.output << stopped.errors;
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
    std::vector<URL> movies;
    for (const auto& entry :
         std::filesystem::directory_iterator(home.file("Videos").appendingPathComponent("Vintra").path())) {
        if (entry.path().extension() == ".mov") movies.push_back(URL::fileURL(entry.path().string()));
    }
    ASSERT_EQ(movies.size(), 1u);
    EXPECT_EQ(MediaProbe(movies[0]).track(0).width, 1920);
}

} // namespace
} // namespace vintra

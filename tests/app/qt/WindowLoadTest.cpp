// What the window takes from a take, and what takes leave behind. Long, and figures of a machine that does nothing else:
// run with --gtest_also_run_disabled_tests in a session whose microphone swings (--microphone "--frequency 3"): the meter of an even
// tone stands.

#include "Vintra/app/qt/MeterModel.h"
#include "tests/app/qt/RealProgramFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ProgramRun.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <string>

namespace vintra {
namespace {

using Moment = std::chrono::steady_clock::time_point;

struct ProcessSize {
    double megabytes = 0;
    long descriptors = 0;
    long threads = 0;

    /// Without what the allocator keeps for later.
    static ProcessSize now() {
        malloc_trim(0);
        ProcessSize size;
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmRSS:")) size.megabytes = std::stod(line.substr(6)) / 1024;
        }
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            ++size.descriptors;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
            ++size.threads;
        return size;
    }
    void print(const std::string& when) const {
        std::printf("%s: %.1f MB, %ld descriptors, %ld threads\n", when.c_str(), megabytes, descriptors,
                    threads);
        std::fflush(stdout);
    }
};

class WindowLoadTest : public RealProgramFixture {
protected:
    MeterModel* microphoneMeter() {
        for (QQuickItem* item : visibleItems(window())) {
            if (auto* const found = item->property("meter").value<MeterModel*>()) return found;
        }
        return nullptr;
    }
    void takeOnce() {
        program->contentView().toggleRecording();
        ASSERT_TRUE(
            hand.until([&] { return *program->recorder().isRecording && !*program->recorder().isBusy; }));
        hand.moments(5);
        program->contentView().toggleRecording();
        ASSERT_TRUE(
            hand.until([&] { return !*program->recorder().isRecording && !*program->recorder().isBusy; }));
        std::filesystem::remove_all(folder.url().path());
        std::filesystem::create_directory(folder.url().path());
    }
};

TEST_F(WindowLoadTest, DISABLED_aWindowThatIsDraggedAndScrolledCostsATakeAndItsMetersNothing) {
    program->recorder().screenFrameRate.set(60);
    click("Microphone");
    click("Webcam");
    ASSERT_TRUE(shown("3 armed"));
    const ChildProcess manager({"openbox"});
    const ChildProcess film({VINTRA_BIN_DIR "/moving-picture"});
    program->mainWindow().setHeightLimit(500); // there is something to scroll
    window().removeEventFilter(&program->windows());
    hand.moments(20);
    ProcessSize::now().print("with the camera's window");
    // A level that comes is on the screen with the next frame.
    MeterModel* const meter = microphoneMeter();
    ASSERT_NE(meter, nullptr);
    Moment changed{};
    bool isDue = false;
    int changes = 0;
    int late = 0;
    double longest = 0;
    QObject::connect(meter, &MeterModel::changed, &window(), [&] {
        if (isDue) ++late; // the one before has never been drawn
        changed = std::chrono::steady_clock::now();
        isDue = true;
        ++changes;
    });
    QObject::connect(&window(), &QQuickWindow::frameSwapped, &window(), [&] {
        if (!std::exchange(isDue, false)) return;
        longest = std::max(longest,
                           std::chrono::duration<double>(std::chrono::steady_clock::now() - changed).count());
    });
    program->contentView().toggleRecording();
    ASSERT_TRUE(hand.until([&] { return *program->recorder().isRecording; }));
    changes = 0;
    late = 0;
    constexpr int kSeconds = 20;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(kSeconds);
    RealInput pointer;
    for (int step = 0; std::chrono::steady_clock::now() < end; ++step) {
        // By its title bar to the right and back, and the wheel over its rows in between.
        const int way = step % 80 < 40 ? 10 : -10;
        const QPoint bar = window().framePosition() + QPoint(200, 8);
        pointer.moveTo(bar);
        pointer.press();
        pointer.moveTo(bar + QPoint(way, way / 2));
        hand.moments(1);
        pointer.release();
        pointer.moveTo(window().position() + QPoint(370, 250));
        pointer.wheel(step % 20 < 10);
        hand.moments(1);
    }
    program->contentView().toggleRecording();
    ASSERT_TRUE(
        hand.until([&] { return !*program->recorder().isRecording && !*program->recorder().isBusy; }));
    const auto& frames = program->recorder().lastTakeScreenFrames();
    ASSERT_TRUE(frames);
    std::printf("meter: %d levels in %d s, %d never drawn, the slowest %.0f ms later\n", changes, kSeconds,
                late, longest * 1000);
    std::printf("screen: %lld pictures of its own, %lld repeated, %lld lost; %s %s\n",
                static_cast<long long>(frames->own), static_cast<long long>(frames->copied),
                static_cast<long long>(frames->lost), program->recorder().statusMessage->c_str(),
                program->recorder().lastError->value_or("").c_str());
    ProcessSize::now().print("after it");
    EXPECT_GT(changes, kSeconds) << "the meter stood";
    EXPECT_EQ(frames->lost, 0);
    EXPECT_EQ(late, 0);
    EXPECT_LT(ProcessSize::now().megabytes, 200);
}

TEST_F(WindowLoadTest, DISABLED_twoHundredTakesLeaveNothingBehind) {
    click("Microphone");
    click("Webcam");
    hand.moments(50);
    for (int n = 0; n < 20; ++n)
        takeOnce();
    hand.moments(50);
    const ProcessSize before = ProcessSize::now();
    before.print("after 20 takes");
    for (int n = 20; n < 200; ++n) {
        takeOnce();
        if (n % 45 == 0) ProcessSize::now().print("after " + std::to_string(n));
    }
    hand.moments(50);
    const ProcessSize after = ProcessSize::now();
    after.print("after 200 takes");
    EXPECT_LE(after.descriptors, before.descriptors);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LT(after.megabytes, before.megabytes + 10);
}

} // namespace
} // namespace vintra

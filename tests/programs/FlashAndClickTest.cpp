// A flash of the screen, a flash before two cameras and a click of a microphone, made at one instant, and where the files
// of a take have them.

#include "tests/programs/RecordedWav.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/Nanoseconds.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/PublishedCamera.h"
#include "tests/support/StallWatch.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

namespace vintra {
namespace {

constexpr double kSlot = 1.0 / 30; // seconds
constexpr bool isExact = VINTRA_FLASH_TAKES == 10;
/// Seconds that a place may differ by: a slot, or what a sanitizer's slowness adds to it.
constexpr double kFlashTolerance = isExact ? kSlot : 0.25;
/// Seconds by which a machine may let its threads oversleep before a flash can't be told to a frame.
constexpr double kLongestFlashStall = isExact ? 0.01 : 0.2;
/// Those in which the machine stalled included.
constexpr int kMostFlashTakes = VINTRA_FLASH_TAKES + 5;

constexpr int64_t kUntilTheFirst = kSecond;
constexpr int64_t kBetweenFlashes = 3 * kSecond / 2;
constexpr int64_t kFlashLength = kSecond / 10;

int64_t monotonicNow() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * kSecond + time.tv_nsec;
}

/// Seconds that the slowest flash of a finished flash-and-click took from its instant until it was drawn.
double slowestFlash(ChildProcess& signal) {
    std::istringstream lines(signal.restOfOutput());
    double slowest = 0;
    for (int64_t instant = 0, late = 0; lines >> instant >> late;)
        slowest = std::max(slowest, static_cast<double>(late) * 1e-9);
    return slowest;
}

/// Seconds at which a movie turns from black to white, the nearest to a time.
std::optional<double> flashNear(const URL& movie, double time) {
    constexpr double kWhite = 200; // luma; a camera's pattern is far below it
    const MediaProbe probe(movie);
    const auto luma = MediaProbe::meanLuma(movie);
    EXPECT_EQ(luma.size(), probe.track(0).packets.size());
    std::optional<double> flash;
    for (size_t i = 1; i < luma.size(); ++i) {
        if (luma[i] <= kWhite || luma[i - 1] > kWhite) continue;
        const double at = CMTimeGetSeconds(probe.track(0).packets[i].time);
        if (!flash || std::fabs(at - time) < std::fabs(*flash - time)) flash = at;
    }
    return flash;
}

class FlashAndClickTest : public ::testing::Test {
protected:
    /// Where one flash and its click are in the files, in seconds.
    struct Places {
        double click = 0;
        double screen = 0;
        double cameras[2] = {};
    };

    void SetUp() override {
        if (!std::getenv("DISPLAY")) GTEST_SKIP() << "there is no X server";
        ASSERT_TRUE(first.isPublished() && second.isPublished());
    }

    /// Nothing if the machine stalled meanwhile for longer than the measurement bears.
    std::optional<Places> takeOf(const std::string& name) {
        const StallWatch stalls;
        const std::string at = std::to_string(monotonicNow() + kUntilTheFirst);
        const std::string flashes =
            "flash " + at + " " + std::to_string(kBetweenFlashes) + " " + std::to_string(kFlashLength);
        EXPECT_TRUE(first.tell(flashes) && second.tell(flashes));
        // A camera is no clock for sound, so the microphone has a timer of its own.
        ChildProcess signal(
            {VINTRA_BIN_DIR "/flash-and-click", "--at", at, "--interval", "1.5", "--count", "3"},
            {"PIPEWIRE_PROPS={ node.group = pipewire.dummy }"});
        EXPECT_EQ(signal.readLine(), "ready");
        const ProgramRun run = runProgram({VINTRA_BIN_DIR "/vintra-take",
                                           "--folder",
                                           folder.url().path(),
                                           "--timeline",
                                           "none",
                                           "--json",
                                           "--seconds",
                                           "2.6",
                                           "--name",
                                           name,
                                           "--fps",
                                           "30",
                                           "--region",
                                           "0,0,640,360",
                                           "--mic",
                                           "vintra.headless.flash-and-click",
                                           "--camera",
                                           "flash-camera-1",
                                           "--camera",
                                           "flash-camera-2"});
        EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
        const double drawn = slowestFlash(signal);
        if (std::max(drawn, stalls.longest()) > kLongestFlashStall) return std::nullopt;
        return placesIn(nlohmann::json::parse(run.output));
    }

    static std::optional<Places> placesIn(const nlohmann::json& take) {
        EXPECT_EQ(take["files"].size(), 4u) << take;
        const auto file = [&](size_t index) {
            return URL::fileURL(take["files"][index]["path"].get<std::string>());
        };
        const auto click = firstSound(file(3), 0.1);
        EXPECT_TRUE(click) << take;
        if (!click) return std::nullopt;
        Places places{.click = *click};
        double* const pictures[] = {&places.screen, &places.cameras[0], &places.cameras[1]};
        for (size_t i = 0; i < std::size(pictures); ++i) {
            const auto flash = flashNear(file(i), *click);
            EXPECT_TRUE(flash) << file(i).path();
            if (!flash) return std::nullopt;
            *pictures[i] = *flash;
        }
        return places;
    }

    TemporaryFolder folder;
    PublishedCamera first{"flash-camera-1", {"--format", "MJPG:320x180@30"}};
    PublishedCamera second{"flash-camera-2", {"--format", "YUY2:256x144@30"}};
};

TEST_F(FlashAndClickTest, whatHappensAtOneInstantLiesWithinASlotInEveryFile) {
    int told = 0;
    for (int attempt = 1; told < VINTRA_FLASH_TAKES; ++attempt) {
        if (attempt > kMostFlashTakes)
            GTEST_SKIP() << "the machine stalled: " << told << " takes could be judged";
        const auto places = takeOf("flash" + std::to_string(attempt));
        ASSERT_FALSE(HasFailure());
        if (!places) continue;
        told += 1;
        EXPECT_NEAR(places->screen, places->click, kFlashTolerance) << "take " << told;
        // A camera's next picture is taken up to a slot after the flash, and lies in the slot nearest to it.
        for (const double camera : places->cameras) {
            EXPECT_GE(camera - places->click, -kFlashTolerance / 2) << "take " << told;
            EXPECT_LE(camera - places->click, kFlashTolerance * 3 / 2) << "take " << told;
            EXPECT_NEAR(camera, places->screen, kFlashTolerance * 3 / 2) << "take " << told;
        }
        std::printf(
            "take %2d: behind the click by %+.1f ms on the screen, %+.1f and %+.1f ms in the cameras\n", told,
            (places->screen - places->click) * 1000, (places->cameras[0] - places->click) * 1000,
            (places->cameras[1] - places->click) * 1000);
    }
}

} // namespace
} // namespace vintra

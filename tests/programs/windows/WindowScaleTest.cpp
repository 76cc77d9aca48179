// The window at the scales that desktops have: sharp, nowhere garbled, and the text as large as the desktop wants it.

#include "tests/programs/windows/VintraFixture.h"
#include "tests/support/ScreenPicture.h"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <optional>

namespace vintra {
namespace {

/// What every scale has room for on the screen of the session.
constexpr int kWidth = 744;
constexpr int kHeight = 400;

class WindowScaleTest : public VintraFixture {
protected:
    void SetUp() override { setDotsPerInch(std::nullopt); }
    void TearDown() override { setDotsPerInch(std::nullopt); }

    /// As a desktop on X says how large text is to be.
    static void setDotsPerInch(std::optional<int> dots) {
        const std::string change = dots ? "echo Xft.dpi: " + std::to_string(*dots) + " | xrdb -override -"
                                        : "echo Xft.dpi: | xrdb -remove - 2>/dev/null; xrdb -query";
        runProgram({"sh", "-c", change});
    }
    static std::string window() {
        const ProgramRun run =
            runProgram({"xdotool", "search", "--onlyvisible", "--name", "VINTRA Recorder"});
        return run.exitCode == 0 ? run.output.substr(0, run.output.find('\n')) : "";
    }
    static int width(const std::string& window) {
        const std::string text = runProgram({"xdotool", "getwindowgeometry", "--shell", window}).output;
        const size_t at = text.find("WIDTH=");
        return at == std::string::npos ? 0 : std::atoi(text.c_str() + at + 6);
    }
    /// The upper part of the window in the size that it has at scale 1.
    static ScreenPicture picture(const std::string& window, double scale) {
        const auto scaled = [scale](int length) {
            return std::to_string(static_cast<int>(std::floor(length * scale)));
        };
        const std::string part = scaled(kWidth) + "x" + scaled(kHeight) + "+0+0";
        const std::string size = std::to_string(kWidth) + "x" + std::to_string(kHeight) + "!";
        return ScreenPicture::ofPPM(runProgram({"import", "-silent", "-window", window, "-crop", part,
                                                "+repage", "-resize", size, "-depth", "8", "ppm:-"})
                                        .output);
    }
    /// The mean of how far the channels of the pixels are apart, of 255.
    static double difference(const ScreenPicture& a, const ScreenPicture& b) {
        if (a.pixels.size() != b.pixels.size() || a.pixels.empty()) return 255;
        double sum = 0;
        for (size_t n = 0; n < a.pixels.size(); ++n) {
            for (const int shift : {0, 8, 16})
                sum += std::abs(static_cast<int>(a.pixels[n] >> shift & 255) -
                                static_cast<int>(b.pixels[n] >> shift & 255));
        }
        return sum / 3 / static_cast<double>(a.pixels.size());
    }
    void expectAt(double scale, const std::vector<std::string>& environment) {
        const auto program = start(environment);
        ASSERT_TRUE(await([] { return !window().empty(); }));
        const std::string shown = window();
        EXPECT_NEAR(width(shown), kWidth * scale, 1) << scale;
        double least = 255;
        const bool isReference = !plain;
        const auto looksRight = [&] {
            const ScreenPicture now = picture(shown, scale);
            if (!plain) {
                // The one that the others are compared with: its record button's colour is that of no other thing.
                plain = now;
                return false;
            }
            const double apart = difference(now, *plain);
            least = std::min(least, apart);
            if (isReference) plain = now; // until it has settled
            return isReference ? apart == 0 : apart < kMostApart;
        };
        EXPECT_TRUE(await(looksRight)) << "at scale " << scale << " " << least << " of 255 apart";
        program->signal(SIGTERM);
        EXPECT_EQ(program->wait(), 0);
    }

    /// Edges of letters and lines differ from scale to scale. Rows that were a few points off, or text cut or overlapping,
    /// would be twice this apart.
    static constexpr double kMostApart = 6;
    std::optional<ScreenPicture> plain;
};

TEST_F(WindowScaleTest, itLooksTheSameAtEveryScale) {
    expectAt(1, {});
    for (const char* const scale : {"1.25", "1.5", "1.75", "2"})
        expectAt(std::atof(scale), {"QT_SCALE_FACTOR=" + std::string(scale)});
}

/// Qt garbles smaller windows.
TEST_F(WindowScaleTest, atAScaleBelowOneItIsAsAtOne) {
    expectAt(1, {});
    expectAt(1, {"QT_SCALE_FACTOR=0.9"});
}

TEST_F(WindowScaleTest, theDesktopsTextScaleMakesAllOfItLarger) {
    expectAt(1, {});
    setDotsPerInch(120); // 1.25 of 96
    expectAt(1.25, {});
}

} // namespace
} // namespace vintra

// Takes of a region by the program itself, compared with what the screen shows there.

#include "tests/programs/AreaTakeFixture.h"
#include "tests/support/MediaProbe.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vintra {
namespace {

/// In luma, of 219 steps: how far the codec may take a picture from the screen, and how much further away a
/// picture must be that is read one pixel beside its place.
constexpr double kCodecTolerance = 2;
constexpr double kOneOff = 1;

struct Place {
    int x, y, width, height;
};

/// Luma of Rec. 709 in video range.
double lumaOf(uint32_t colour) {
    const auto part = [colour](int shift) { return static_cast<double>(colour >> shift & 0xff); };
    return 16 + 219 * (0.2126 * part(16) + 0.7152 * part(8) + 0.0722 * part(0)) / 255;
}

class RegionTakeTest : public AreaTakeFixture {
protected:
    void SetUp() override {
        AreaTakeFixture::SetUp();
        if (!HasFatalFailure()) paint();
    }
    /// Waves of grey: no hard edge for the codec to blur, and a slope nearly everywhere, so that a picture
    /// which is one pixel off differs. The third wave tells their repetitions apart.
    void paint() {
        std::vector<uint32_t> pixels;
        for (int y = 0; y < kScreenHeight; ++y) {
            for (int x = 0; x < kScreenWidth; ++x) {
                const double level = 128 + 50 * std::sin(x / 7.0) + 50 * std::sin(y / 6.0) +
                                     25 * std::sin((x + 2 * y) / 150.0);
                pixels.push_back(static_cast<uint32_t>(level) * 0x010101u);
            }
        }
        painter.draw(kScreenWidth, kScreenHeight, pixels);
    }
    /// The size and the last picture of a movie are those of the place on the screen.
    void expectShows(const std::string& name, const Place& place) {
        const MediaProbe probe(movie(name));
        ASSERT_EQ(probe.track(0).width, place.width);
        ASSERT_EQ(probe.track(0).height, place.height);
        const auto picture = MediaProbe::luma(movie(name)).back();
        ASSERT_EQ(picture.size(), static_cast<size_t>(place.width * place.height));
        const auto screen = painter.pixels(0, 0, kScreenWidth, kScreenHeight);
        ASSERT_EQ(screen.size(), static_cast<size_t>(kScreenWidth * kScreenHeight));
        const double there = difference(picture, place, screen);
        EXPECT_LT(there, kCodecTolerance) << name;
        for (const auto& [dx, dy] : {std::pair{-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
            const Place beside{place.x + dx, place.y + dy, place.width, place.height};
            EXPECT_GT(difference(picture, beside, screen), there + kOneOff)
                << name << " may be off by " << dx << ", " << dy;
        }
        std::printf("%s: %.2f steps of luma from the screen\n", name.c_str(), there);
    }

private:
    /// The mean over what of the place lies on the screen.
    static double difference(const std::vector<uint8_t>& picture, const Place& place,
                             const std::vector<uint32_t>& screen) {
        double sum = 0;
        int count = 0;
        for (int row = 0; row < place.height; ++row) {
            for (int column = 0; column < place.width; ++column) {
                const int x = place.x + column;
                const int y = place.y + row;
                if (x < 0 || y < 0 || x >= kScreenWidth || y >= kScreenHeight) continue;
                sum += std::fabs(picture[static_cast<size_t>(row * place.width + column)] -
                                 lumaOf(screen[static_cast<size_t>(y * kScreenWidth + x)]));
                count += 1;
            }
        }
        return sum / std::max(count, 1);
    }
};

TEST_F(RegionTakeTest, aRegionOfOddSizeShowsItsEvenPart) {
    const Outcome outcome = take("odd", {"--region", "101,53,201,177"});
    EXPECT_EQ(outcome.code, 0) << outcome.json;
    EXPECT_EQ(outcome.json.value("screen", ""), "Area · 200×176");
    expectShows("odd", {101, 53, 200, 176});
}

TEST_F(RegionTakeTest, aShapeTakesTheMostUnitsThatFitFromTheTopLeft) {
    // 300 × 201: 9 of min(300 / 32, 201 / 18), 6 of min(300 / 18, 201 / 32), 100 of min(300 / 2, 201 / 2).
    const std::vector<std::pair<std::string, Place>> shapes{{"widescreen", {33, 21, 288, 162}},
                                                            {"vertical", {33, 21, 108, 192}},
                                                            {"square", {33, 21, 200, 200}},
                                                            {"freeform", {33, 21, 300, 200}}};
    for (const auto& [shape, place] : shapes) {
        const Outcome outcome = take(shape, {"--region", "33,21,300,201", "--aspect", shape});
        EXPECT_EQ(outcome.code, 0) << outcome.json;
        expectShows(shape, place);
    }
}

TEST_F(RegionTakeTest, aRegionReachesTheFarCorner) {
    EXPECT_EQ(take("corner", {"--region", "340,280,300,200"}).code, 0);
    expectShows("corner", {340, 280, 300, 200});
}

TEST_F(RegionTakeTest, aRegionBelowOneUnitOfItsShapeShowsOne) {
    EXPECT_EQ(take("tiny", {"--region", "600,440,5,5", "--aspect", "widescreen"}).code, 0);
    expectShows("tiny", {600, 440, 32, 18});
}

TEST_F(RegionTakeTest, onADenseDisplayARegionIsInPoints) {
    painter.setResources("Xft.dpi:\t192\n");
    const auto displays = list()["displays"];
    EXPECT_EQ(displays[0]["scale"], 2);
    EXPECT_EQ(displays[0]["points"]["width"], kScreenWidth / 2);
    EXPECT_EQ(take("dense", {"--region", "50.5,30,101,77"}).code, 0);
    expectShows("dense", {101, 60, 202, 154});
}

TEST_F(RegionTakeTest, aRegionIsCountedOnTheChosenDisplay) {
    ASSERT_TRUE(server.xrandr({"--setmonitor", "LEFT", "400/400x480/480+0+0", "screen"}));
    ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "240/240x480/480+400+0", "none"}));
    std::string right;
    const Json displays = list()["displays"];
    for (const Json& display : displays) {
        if (display["name"] == "RIGHT") right = std::to_string(display["id"].get<uint32_t>());
    }
    EXPECT_EQ(take("right", {"--display", right, "--region", "20,30,200,100"}).code, 0);
    expectShows("right", {420, 30, 200, 100});
    EXPECT_EQ(take("left", {"--region", "20,30,200,100"}).code, 0);
    expectShows("left", {20, 30, 200, 100});
    const Outcome beyond = take("beyond", {"--display", right, "--region", "200,0,100,100"});
    EXPECT_EQ(beyond.code, 1);
    EXPECT_EQ(beyond.json.value("lastError", ""),
              "The region reaches beyond display " + right +
                  " (RIGHT), which has 240×480 points: from 200,0 there is room for 40×480.");
}

TEST_F(RegionTakeTest, whatIsNotThereIsRefusedAndNoFileIsMade) {
    const std::string display = std::to_string(list()["displays"][0]["id"].get<uint32_t>());
    expectRefused({"--region", "640,0,10,10"},
                  "The region lies outside of display " + display +
                      " (screen), which has 640×480 points: nothing begins at 640,0. "
                      "--list shows the displays.");
    expectRefused({"--region", "600,400,100,100"},
                  "The region reaches beyond display " + display +
                      " (screen), which has 640×480 points: from 600,400 there is room for 40×80.");
    expectRefused({"--display", "1", "--region", "0,0,10,10"},
                  "There is no display 1. --list shows the ones there are.");
}

} // namespace
} // namespace vintra

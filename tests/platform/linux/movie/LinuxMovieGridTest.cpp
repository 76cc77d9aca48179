#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/MediaProbe.h"

#include <ostream>

namespace vintra {
namespace {

/// Pictures on the grid: phase in 1/600 s, then slots of 1/rate s.
class LinuxMovieGridTest : public WriterFixture {
protected:
    CMTime slotTime(int phase, int64_t slot, int32_t rate) const {
        return start + CMTimeMake(phase, 600) + CMTimeMake(slot, rate);
    }
};

struct Grid {
    int32_t rate;
    int phase; ///< 1/600 s
    int64_t first;
    int64_t count;
    int64_t step = 1; ///< slots from one picture to the next
};

void PrintTo(const Grid& grid, std::ostream* out) {
    *out << grid.count << " slots at " << grid.rate << ", phase " << grid.phase;
}

class LinuxMovieLongGridTest : public LinuxMovieGridTest, public ::testing::WithParamInterface<Grid> {};

TEST_P(LinuxMovieLongGridTest, everyTimeIsExactToTheLastSlot) {
    const auto [rate, phase, first, count, step] = GetParam();
    const auto open = beginMovie("a.mov", {pictures(32, 32, 100'000)});
    const auto image = solid(32, 32, 10, 20, 30);
    for (int64_t i = 0; i < count; i += step)
        ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                    picture(image, slotTime(phase, first + i, rate), rate)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);

    const MediaProbe probe(folder.file("a.mov"));
    const auto& packets = probe.track(0).packets;
    const int64_t pictures = (count + step - 1) / step;
    ASSERT_EQ(packets.size(), static_cast<size_t>(pictures));
    EXPECT_TRUE(packets[0].isKey);
    CMTime lastKey = packets[0].time;
    for (int64_t i = 0; i < pictures; ++i) {
        const auto& packet = packets[static_cast<size_t>(i)];
        const CMTime expected = CMTimeMake(phase, 600) + CMTimeMake(first + i * step, rate);
        ASSERT_EQ(packet.time, expected) << i << ": " << describe(packet.time);
        if (i < pictures - 1) {
            ASSERT_EQ(packet.duration, CMTimeMake(step, rate)) << i << ": " << describe(packet.duration);
        }
        if (packet.isKey) lastKey = packet.time;
        ASSERT_LE(packet.time - lastKey, CMTimeMake(1, 1)) << i;
    }
    // The last picture lasts one slot.
    EXPECT_EQ(probe.track(0).mediaDuration, CMTimeMake((pictures - 1) * step + 1, rate));
    EXPECT_FALSE(probe.track(0).hasReorderedPictures);
}

INSTANTIATE_TEST_SUITE_P(
    Grids, LinuxMovieLongGridTest,
    ::testing::Values(Grid{.rate = 30, .phase = 7, .first = 0, .count = 108'000},             // an hour
                      Grid{.rate = 60, .phase = 3, .first = 0, .count = 432'000, .step = 12}, // two hours
                      Grid{.rate = 60, .phase = 0, .first = 0, .count = 1'800},
                      Grid{.rate = 24, .phase = 13, .first = 3, .count = 2'000},
                      Grid{.rate = 25, .phase = 1, .first = 0, .count = 500},
                      Grid{.rate = 29, .phase = 19, .first = 1, .count = 2'900},
                      Grid{.rate = 48, .phase = 11, .first = 2, .count = 500},
                      Grid{.rate = 144, .phase = 3, .first = 5, .count = 1'500},
                      Grid{.rate = 239, .phase = 2, .first = 7, .count = 1'000}));

TEST_F(LinuxMovieGridTest, aGapMakesThePictureBeforeItLastLonger) {
    const auto open = beginMovie("a.mov", {pictures(32, 32)});
    const std::vector<int64_t> slots = {0, 1, 2, 10, 11, 200};
    for (const int64_t slot : slots)
        ASSERT_TRUE(open.inputs[0]->append(picture(solid(32, 32, 9, 9, 9), slotTime(0, slot, 60), 60)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe probe(folder.file("a.mov"));
    const auto& packets = probe.track(0).packets;
    ASSERT_EQ(packets.size(), slots.size());
    for (size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(packets[i].time, CMTimeMake(slots[i], 60)) << i;
    EXPECT_EQ(packets[2].duration, CMTimeMake(8, 60));
    EXPECT_EQ(probe.track(0).mediaDuration, CMTimeMake(201, 60));
    EXPECT_TRUE(packets[5].isKey); // three seconds after the one before
    EXPECT_NEAR(probe.duration(), 201.0 / 60, 0.001);
}

TEST_F(LinuxMovieGridTest, aLateFirstPictureKeepsItsDistanceFromTheSessionsStart) {
    const auto open = beginMovie("a.mov", {pictures(32, 32)});
    for (int64_t slot = 63; slot < 93; ++slot)
        ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                    picture(solid(32, 32, 9, 9, 9), slotTime(11, slot, 30), 30)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe probe(folder.file("a.mov"));
    const auto& packets = probe.track(0).packets;
    ASSERT_EQ(packets.size(), 30u);
    EXPECT_EQ(packets.front().time, CMTimeMake(11, 600) + CMTimeMake(63, 30));
    EXPECT_EQ(packets.back().time, CMTimeMake(11, 600) + CMTimeMake(92, 30));
    EXPECT_NEAR(probe.duration(), 11.0 / 600 + 93.0 / 30, 0.001);
}

TEST_F(LinuxMovieGridTest, picturesBeforeTheSessionAreLeftOut) {
    const auto open = beginMovie("a.mov", {pictures(32, 32)});
    for (const int64_t slot : {-3, -1, 0, 1})
        ASSERT_TRUE(open.inputs[0]->append(picture(solid(32, 32, 9, 9, 9), slotTime(0, slot, 30), 30)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe probe(folder.file("a.mov"));
    ASSERT_EQ(probe.track(0).packets.size(), 2u);
    EXPECT_EQ(probe.track(0).packets[0].time, kCMTimeZero);
}

TEST_F(LinuxMovieGridTest, timesOffTheGridAreKeptToWithinATick) {
    const auto open = beginMovie("a.mov", {pictures(32, 32)});
    // Ticks of the host clock, with no common measure.
    const std::vector<int64_t> ticks = {1, 239'999, 480'011, 731'777};
    for (const int64_t tick : ticks)
        ASSERT_TRUE(
            open.inputs[0]->append(picture(solid(32, 32, 9, 9, 9), start + CMTimeMake(tick, 7'200'000), 30)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe probe(folder.file("a.mov"));
    ASSERT_EQ(probe.track(0).packets.size(), ticks.size());
    for (size_t i = 0; i < ticks.size(); ++i)
        EXPECT_NEAR(CMTimeGetSeconds(probe.track(0).packets[i].time),
                    static_cast<double>(ticks[i]) / 7'200'000, 1.0 / 600);
}

} // namespace
} // namespace vintra

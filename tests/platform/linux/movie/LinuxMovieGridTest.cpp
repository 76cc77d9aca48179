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
    const int64_t pictures = (count - 1) / step * step + 1; // what wasn't given is filled
    ASSERT_EQ(packets.size(), static_cast<size_t>(pictures));
    EXPECT_TRUE(packets[0].isKey);
    CMTime lastKey = packets[0].time;
    for (int64_t i = 0; i < pictures; ++i) {
        const auto& packet = packets[static_cast<size_t>(i)];
        const CMTime expected = CMTimeMake(phase, 600) + CMTimeMake(first + i, rate);
        ASSERT_EQ(packet.time, expected) << i << ": " << describe(packet.time);
        if (i < pictures - 1) {
            ASSERT_EQ(packet.duration, CMTimeMake(1, rate)) << i << ": " << describe(packet.duration);
        }
        if (packet.isKey) lastKey = packet.time;
        ASSERT_LE(packet.time - lastKey, CMTimeMake(1, 1)) << i;
    }
    // The last picture lasts one slot.
    EXPECT_EQ(probe.track(0).mediaDuration, CMTimeMake(pictures, rate));
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

class LinuxMovieGapTest : public LinuxMovieGridTest, public ::testing::WithParamInterface<AVVideoCodecType> {
protected:
    AVVideoSettings settings() const {
        AVVideoSettings all = pictures(64, 48);
        all.codec = GetParam();
        return all;
    }
    /// Every slot of 1/60 s from 0 on has a picture of its own length.
    void expectConstantRate(int64_t slots) {
        const MediaProbe probe(folder.file("a.mov"));
        const auto& packets = probe.track(0).packets;
        ASSERT_EQ(packets.size(), static_cast<size_t>(slots));
        for (int64_t i = 0; i < slots; ++i) {
            const auto& packet = packets[static_cast<size_t>(i)];
            EXPECT_EQ(packet.time, CMTimeMake(i, 60)) << i;
            if (i + 1 < slots) {
                EXPECT_EQ(packet.duration, CMTimeMake(1, 60)) << i;
            }
        }
        EXPECT_EQ(probe.track(0).mediaDuration, CMTimeMake(slots, 60));
        EXPECT_NEAR(probe.duration(), static_cast<double>(slots) / 60, 0.001);
    }
};

TEST_P(LinuxMovieGapTest, aGapShowsThePictureBeforeItInEverySlot) {
    const auto open = beginMovie("a.mov", {settings()});
    const std::vector<int64_t> slots = {0, 1, 2, 10, 11, 200};
    for (const int64_t slot : slots) {
        const auto grey = static_cast<uint8_t>(slot == 200 ? 250 : 20 * slot + 10);
        ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                    picture(solid(64, 48, grey, grey, grey), slotTime(0, slot, 60), 60)));
    }
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    expectConstantRate(201);
    const auto luma = MediaProbe::meanLuma(folder.file("a.mov"));
    ASSERT_EQ(luma.size(), 201u);
    size_t given = 0;
    for (size_t i = 0; i < luma.size(); ++i) {
        if (given + 1 < slots.size() && static_cast<int64_t>(i) >= slots[given + 1]) ++given;
        const int64_t grey = slots[given] == 200 ? 250 : 20 * slots[given] + 10;
        EXPECT_NEAR(luma[i], 16 + static_cast<double>(grey) * 219 / 255, 3) << i;
    }
}

TEST_P(LinuxMovieGapTest, aPictureThatStandsReachesTheDiskAtOnce) {
    const auto open = beginMovie("a.mov", {settings()});
    const auto image = solid(64, 48, 9, 9, 9);
    open.inputs[0]->extendLast(slotTime(0, 10, 60)); // nothing stands yet
    ASSERT_TRUE(open.inputs[0]->append(picture(image, slotTime(0, 0, 60), 60)));
    for (int64_t slot = 10; slot <= 180; slot += 10)
        open.inputs[0]->extendLast(slotTime(0, slot, 60));
    EXPECT_FALSE(open.inputs[0]->append(picture(image, slotTime(0, 179, 60), 60))) << "it is written out";
    // While the writer goes on: all but less than three quarters of a second.
    size_t packets = 0;
    for (int i = 0; i < 5000 && packets < 135; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        try {
            packets = MediaProbe(folder.file("a.mov")).track(0).packets.size();
        } catch (const std::exception&) {
            continue; // the file has no header yet
        }
    }
    EXPECT_GE(packets, 135u);
    EXPECT_TRUE(open.inputs[0]->append(picture(solid(64, 48, 200, 9, 9), slotTime(0, 180, 60), 60)));
    open.inputs[0]->extendLast(slotTime(0, 240, 60));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    expectConstantRate(240);
}

INSTANTIATE_TEST_SUITE_P(Codecs, LinuxMovieGapTest,
                         ::testing::Values(AVVideoCodecType::h264, AVVideoCodecType::hevc));

TEST_F(LinuxMovieGridTest, everyPictureReachesTheDiskBeforeTheNextOneComes) {
    const auto open = beginMovie("a.mov", {pictures(1920, 1080, 9'000'000)}); // large enough for two threads
    for (int64_t slot = 0; slot < 14; ++slot)
        ASSERT_TRUE(appendWhenReady(
            *open.inputs[0], *open.writer,
            picture(solid(1920, 1080, static_cast<uint8_t>(9 * slot), 9, 9), slotTime(0, slot, 30), 30)));
    size_t packets = 0;
    for (int i = 0; i < 5000 && packets < 9; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        try {
            packets = MediaProbe(folder.file("a.mov")).track(0).packets.size();
        } catch (const std::exception&) {
            continue;
        }
    }
    EXPECT_GE(packets, 9u) << "a fragment ends at 0.3 s";
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
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

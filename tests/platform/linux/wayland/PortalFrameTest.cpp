#include "Vintra/platform/linux/wayland/PortalFrame.h"

#include <gtest/gtest.h>

#include <array>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>

namespace vintra {
namespace {

/// A buffer as a desktop fills it: 4 × 3 pixels, rows of 5 pixels apart.
struct FilledBuffer {
    static constexpr PortalVideoFormat kFormat{4, 3, PortalPixels::bgrx};

    std::array<uint8_t, 60> pixels{};
    spa_chunk chunk{0, 60, 20, 0};
    spa_data data{};
    spa_meta_header header{};
    spa_meta_region crop{};
    std::array<spa_meta_region, 3> damage{};
    std::array<spa_meta, 3> metas{};
    spa_buffer buffer{};

    FilledBuffer() {
        data.type = SPA_DATA_MemPtr;
        data.data = pixels.data();
        data.maxsize = static_cast<uint32_t>(pixels.size());
        data.chunk = &chunk;
        metas[0] = {SPA_META_Header, sizeof header, &header};
        metas[1] = {SPA_META_VideoCrop, sizeof crop, &crop};
        metas[2] = {SPA_META_VideoDamage, sizeof damage, damage.data()};
        buffer.n_datas = 1;
        buffer.datas = &data;
        buffer.n_metas = 3;
        buffer.metas = metas.data();
    }
    std::optional<PortalFrame> read() const { return readPortalFrame(buffer, kFormat); }
};

spa_meta_region region(int x, int y, uint32_t width, uint32_t height) {
    return {{{x, y}, {width, height}}};
}

TEST(PortalFrame, aBufferIsReadWithWhatItTells) {
    FilledBuffer filled;
    filled.header.pts = 12'345;
    filled.header.seq = 7;
    filled.damage[0] = region(1, 1, 2, 1);
    filled.damage[1] = region(3, 2, 9, 9); // cut at the picture's end
    const auto frame = filled.read();
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->bytes, filled.pixels.data());
    EXPECT_EQ(frame->bytesPerRow, 20);
    EXPECT_EQ(frame->content, (PixelRect{0, 0, 4, 3}));
    EXPECT_EQ(frame->nanoseconds, 12'345);
    EXPECT_EQ(frame->sequence, 7u);
    EXPECT_EQ(frame->damage, (std::vector<PixelRect>{{1, 1, 2, 1}, {3, 2, 1, 1}}));
}

TEST(PortalFrame, anEmptyRegionIsNotTheEndOfTheList) {
    FilledBuffer filled;
    EXPECT_EQ(filled.read()->damage, std::vector<PixelRect>{});
    filled.damage[2] = region(1, 1, 2, 1);
    EXPECT_EQ(filled.read()->damage, (std::vector<PixelRect>{{1, 1, 2, 1}}));
    filled.damage[2] = region(40, 40, 2, 1); // beyond the picture
    EXPECT_EQ(filled.read()->damage, std::vector<PixelRect>{});
    filled.buffer.n_metas = 2;
    EXPECT_EQ(filled.read()->damage, std::nullopt);
    filled.buffer.n_metas = 0;
    const auto bare = filled.read();
    ASSERT_TRUE(bare.has_value());
    EXPECT_EQ(bare->nanoseconds, std::nullopt);
    EXPECT_EQ(bare->sequence, std::nullopt);
}

TEST(PortalFrame, theCropIsThePicture) {
    FilledBuffer filled;
    filled.crop = region(1, 1, 2, 2);
    EXPECT_EQ(filled.read()->content, (PixelRect{1, 1, 2, 2}));
    filled.crop = region(2, 0, 100, 100);
    EXPECT_EQ(filled.read()->content, (PixelRect{2, 0, 2, 3}));
    filled.crop = region(9, 9, 1, 1); // nowhere
    EXPECT_EQ(filled.read()->content, (PixelRect{0, 0, 4, 3}));
}

TEST(PortalFrame, corruptedAndEmptyBuffersCarryNoPicture) {
    FilledBuffer filled;
    filled.header.flags = SPA_META_HEADER_FLAG_CORRUPTED;
    EXPECT_FALSE(filled.read());
    filled.header.flags = 0;
    filled.chunk.flags = SPA_CHUNK_FLAG_CORRUPTED;
    EXPECT_FALSE(filled.read());
    filled.chunk.flags = 0;
    filled.chunk.size = 0;
    EXPECT_FALSE(filled.read());
    filled.chunk.size = 60;
    filled.data.data = nullptr;
    EXPECT_FALSE(filled.read());
    filled.buffer.n_datas = 0;
    EXPECT_FALSE(filled.read());
}

TEST(PortalFrame, aBufferThatDoesNotHoldItsPictureIsRefused) {
    FilledBuffer filled;
    filled.chunk.offset = 4; // 2 rows of 20 and one of 16: 56 of 60
    EXPECT_TRUE(filled.read());
    filled.chunk.offset = 5;
    EXPECT_FALSE(filled.read());
    filled.chunk.offset = 4'000'000'000;
    EXPECT_FALSE(filled.read());
    filled.chunk.offset = 0;
    filled.chunk.stride = 15;
    EXPECT_FALSE(filled.read());
    filled.chunk.stride = 0; // rows without gaps
    EXPECT_EQ(filled.read()->bytesPerRow, 16);
    filled.chunk.stride = 2'000'000'000;
    EXPECT_FALSE(filled.read());
}

TEST(PortalFrame, rowsMayStandUpsideDownInMemory) {
    FilledBuffer filled;
    filled.chunk.stride = -20;
    const auto frame = filled.read();
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->bytes, filled.pixels.data() + 40) << "the picture's first row is the memory's last";
    EXPECT_EQ(frame->bytesPerRow, -20);
    filled.chunk.offset = 5;
    EXPECT_FALSE(filled.read());
}

TEST(PortalFrame, aTurnedPictureIsToldUpright) {
    FilledBuffer filled;
    spa_meta_videotransform turned{SPA_META_TRANSFORMATION_90};
    std::array<spa_meta, 4> metas{filled.metas[0], filled.metas[1], filled.metas[2],
                                  spa_meta{SPA_META_VideoTransform, sizeof turned, &turned}};
    filled.buffer.metas = metas.data();
    filled.buffer.n_metas = 4;
    filled.damage[0] = region(0, 0, 1, 1);
    const auto frame = filled.read();
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->transform, (PictureTransform{.quarterTurns = 1, .isFlipped = false}));
    EXPECT_EQ(frame->content, (PixelRect{0, 0, 3, 4}));
    EXPECT_EQ(frame->damage, (std::vector<PixelRect>{{2, 0, 1, 1}}))
        << "turned left, the top right corner came first";
    turned.transform = SPA_META_TRANSFORMATION_180;
    EXPECT_EQ(filled.read()->damage, (std::vector<PixelRect>{{3, 2, 1, 1}}));
    turned.transform = SPA_META_TRANSFORMATION_Flipped;
    EXPECT_EQ(filled.read()->damage, (std::vector<PixelRect>{{3, 0, 1, 1}}));
    turned.transform = SPA_META_TRANSFORMATION_Flipped270;
    EXPECT_EQ(filled.read()->transform, (PictureTransform{.quarterTurns = 3, .isFlipped = true}));
    turned.transform = 77; // of another time: as it lies
    EXPECT_TRUE(filled.read()->transform.isUpright());
}

} // namespace
} // namespace vintra

#include "Vintra/platform/linux/pipewire/CaptureRing.h"

#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <thread>

namespace vintra {
namespace {

std::vector<uint8_t> numbered(size_t length, uint8_t first) {
    std::vector<uint8_t> bytes(length);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

TEST(CaptureRing, blocksComeOutAsTheyWentIn) {
    CaptureRing ring(64, 4);
    const auto first = numbered(24, 1);
    const auto second = numbered(8, 100);
    EXPECT_TRUE(ring.write(11, 3, first.data(), first.size()));
    EXPECT_TRUE(ring.write(22, 1, second.data(), second.size()));
    CaptureRing::Block block;
    ASSERT_TRUE(ring.peek(block));
    EXPECT_EQ(block.time, 11);
    EXPECT_EQ(block.frames, 3u);
    std::vector<uint8_t> bytes(block.bytes);
    ring.read(bytes.data());
    EXPECT_EQ(bytes, first);
    ASSERT_TRUE(ring.peek(block));
    EXPECT_EQ(block.time, 22);
    bytes.resize(block.bytes);
    ring.read(bytes.data());
    EXPECT_EQ(bytes, second);
    EXPECT_FALSE(ring.peek(block));
}

TEST(CaptureRing, aBlockThatFindsNoRoomIsLeftOutWhole) {
    CaptureRing ring(16, 4);
    const auto bytes = numbered(16, 1);
    EXPECT_TRUE(ring.write(1, 1, bytes.data(), 12));
    EXPECT_FALSE(ring.write(2, 1, bytes.data(), 5));
    EXPECT_TRUE(ring.write(3, 1, bytes.data(), 4));
    EXPECT_EQ(ring.blocksLeftOut(), 1u);
    CaptureRing::Block block;
    std::vector<uint8_t> read(16);
    ASSERT_TRUE(ring.peek(block));
    ring.read(read.data());
    ASSERT_TRUE(ring.peek(block));
    EXPECT_EQ(block.time, 3);
}

TEST(CaptureRing, thereIsRoomForAsManyBlocksAsSaid) {
    CaptureRing ring(1024, 2);
    const uint8_t byte = 7;
    EXPECT_TRUE(ring.write(1, 1, &byte, 1));
    EXPECT_TRUE(ring.write(2, 1, &byte, 1));
    EXPECT_FALSE(ring.write(3, 1, &byte, 1));
}

TEST(CaptureRing, twoThreadsPassEveryByteInOrder) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE(seed);
    CaptureRing ring(4096, 16);
    constexpr int64_t blocks = 20'000;
    std::thread writer([&ring, seed] {
        std::mt19937 random(seed);
        std::uniform_int_distribution<size_t> lengths(1, 900);
        for (int64_t number = 0; number < blocks; ++number) {
            const auto bytes = numbered(lengths(random), static_cast<uint8_t>(number));
            while (!ring.write(number, static_cast<uint32_t>(bytes.size()), bytes.data(), bytes.size())) {
                std::this_thread::yield();
            }
        }
    });
    std::vector<uint8_t> bytes(1024);
    int64_t wrong = 0;
    for (int64_t number = 0; number < blocks;) {
        CaptureRing::Block block;
        if (!ring.peek(block)) {
            std::this_thread::yield();
            continue;
        }
        ring.read(bytes.data());
        const bool isRight = block.time == number && block.frames == block.bytes &&
                             std::equal(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(block.bytes),
                                        numbered(block.bytes, static_cast<uint8_t>(number)).begin());
        if (!isRight) ++wrong;
        ++number;
    }
    writer.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace vintra

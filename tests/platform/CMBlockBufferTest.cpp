#include "Vintra/platform/CMBlockBuffer.h"

#include <gtest/gtest.h>
#include <numeric>

namespace vintra {
namespace {

/// Ten bytes, 0 to 9, in pieces of 3, 0, 5 and 2.
class PiecedBlockBufferTest : public testing::Test {
protected:
    std::shared_ptr<std::vector<uint8_t>> memory = std::make_shared<std::vector<uint8_t>>(10);
    std::shared_ptr<CMBlockBuffer> buffer;

    void SetUp() override {
        std::iota(memory->begin(), memory->end(), uint8_t{0});
        uint8_t* const bytes = memory->data();
        buffer = CMBlockBuffer::make({{bytes, 3}, {bytes + 3, 0}, {bytes + 3, 5}, {bytes + 8, 2}}, memory);
    }
};

TEST(CMBlockBufferTest, aFreshBufferLiesInOnePiece) {
    const auto buffer = CMBlockBuffer::make(8);
    EXPECT_EQ(buffer->dataLength(), 8u);
    const auto whole = buffer->dataPointer(0);
    EXPECT_EQ(whole.bytes, buffer->contiguousBytes());
    EXPECT_EQ(whole.lengthAtOffset, 8u);
    EXPECT_EQ(whole.totalLength, 8u);
    const auto rest = buffer->dataPointer(6);
    EXPECT_EQ(rest.bytes, buffer->contiguousBytes() + 6);
    EXPECT_EQ(rest.lengthAtOffset, 2u);
}

TEST(CMBlockBufferTest, anEmptyBufferHasNoDataAtAnyOffset) {
    const auto buffer = CMBlockBuffer::make(0);
    EXPECT_EQ(buffer->dataLength(), 0u);
    EXPECT_EQ(buffer->dataPointer(0).bytes, nullptr);
    buffer->fillDataBytes(1, 0, 5);
}

TEST(CMBlockBufferTest, theOwnerLivesAsLongAsTheBuffer) {
    auto owner = std::make_shared<std::vector<uint8_t>>(4);
    const std::weak_ptr<std::vector<uint8_t>> watched = owner;
    auto buffer = CMBlockBuffer::make({{owner->data(), 4}}, owner);
    owner = nullptr;
    EXPECT_FALSE(watched.expired());
    buffer = nullptr;
    EXPECT_TRUE(watched.expired());
}

TEST_F(PiecedBlockBufferTest, aPointerReachesToTheEndOfItsPiece) {
    EXPECT_EQ(buffer->dataLength(), 10u);
    EXPECT_EQ(buffer->contiguousBytes(), nullptr);
    const auto first = buffer->dataPointer(1);
    EXPECT_EQ(*first.bytes, 1);
    EXPECT_EQ(first.lengthAtOffset, 2u);
    EXPECT_EQ(first.totalLength, 10u);
    const auto second = buffer->dataPointer(3);
    EXPECT_EQ(*second.bytes, 3);
    EXPECT_EQ(second.lengthAtOffset, 5u);
    const auto last = buffer->dataPointer(9);
    EXPECT_EQ(*last.bytes, 9);
    EXPECT_EQ(last.lengthAtOffset, 1u);
    EXPECT_EQ(buffer->dataPointer(10).bytes, nullptr);
    EXPECT_EQ(buffer->dataPointer(SIZE_MAX).bytes, nullptr);
}

TEST_F(PiecedBlockBufferTest, fillingGoesOverThePiecesAndStopsAtTheEnd) {
    buffer->fillDataBytes(0xFF, 2, 7);
    EXPECT_EQ(*memory, (std::vector<uint8_t>{0, 1, 255, 255, 255, 255, 255, 255, 255, 9}));
    buffer->fillDataBytes(0, 8, 1000);
    EXPECT_EQ((*memory)[8], 0);
    EXPECT_EQ((*memory)[9], 0);
    buffer->fillDataBytes(1, 50, 10);
    buffer->fillDataBytes(1, 0, 0);
    EXPECT_EQ((*memory)[0], 0);
}

TEST_F(PiecedBlockBufferTest, copyingJoinsThePieces) {
    std::vector<uint8_t> copy(10);
    buffer->copyDataBytes(copy.data());
    EXPECT_EQ(copy, *memory);
}

} // namespace
} // namespace vintra

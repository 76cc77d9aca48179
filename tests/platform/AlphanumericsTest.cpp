#include "Vintra/platform/Alphanumerics.h"

#include <gtest/gtest.h>
#include <string_view>

namespace vintra {
namespace {

TEST(AlphanumericsTest, lettersMarksAndNumbersAre) {
    for (const char32_t scalar : std::u32string_view(U"0189AZazªµº¼ÀÖØöøÿĀΩЖא٣अ漢字かﬁ𝟙𐐷"))
        EXPECT_TRUE(isAlphanumeric(scalar)) << std::hex << static_cast<uint32_t>(scalar);
    EXPECT_TRUE(isAlphanumeric(0x0301)) << "a combining accent";
    EXPECT_TRUE(isAlphanumeric(0xE01EF)) << "the last mark";
}

TEST(AlphanumericsTest, signsBlanksAndWhatIsNotAssignedAreNot) {
    for (const char32_t scalar : std::u32string_view(U"\t\n !/:@[`{~\u00A0×÷€—…☃😀"))
        EXPECT_FALSE(isAlphanumeric(scalar)) << std::hex << static_cast<uint32_t>(scalar);
    EXPECT_FALSE(isAlphanumeric(0xD800));
    EXPECT_FALSE(isAlphanumeric(0xE01F0));
    EXPECT_FALSE(isAlphanumeric(0x10FFFF));
    EXPECT_FALSE(isAlphanumeric(0xFFFFFFFF));
}

} // namespace
} // namespace vintra

#include "Vintra/platform/LetterCase.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(LetterCaseTest, asciiChangesOnlyLetters) {
    EXPECT_EQ(lowercased("A-Z_09 @[`{az"), "a-z_09 @[`{az");
    EXPECT_EQ(uppercased("A-Z_09 @[`{az"), "A-Z_09 @[`{AZ");
}

TEST(LetterCaseTest, otherScriptsHaveCaseToo) {
    EXPECT_EQ(lowercased("ÄÉŁĐ ΑΩ ЯЁ"), "äéłđ αω яё");
    EXPECT_EQ(uppercased("äéłđ ας яё"), "ÄÉŁĐ ΑΣ ЯЁ");
    EXPECT_EQ(lowercased("录音 🎙 ー"), "录音 🎙 ー");
    EXPECT_EQ(lowercased("\xF0\x90\x90\x80"), "\xF0\x90\x90\xA8"); // Deseret long I, U+10400 and U+10428
}

TEST(LetterCaseTest, someLettersBecomeSeveral) {
    EXPECT_EQ(uppercased("straße"), "STRASSE");
    EXPECT_EQ(uppercased("ﬃ"), "FFI");
    EXPECT_EQ(lowercased("İ"), "i\xCC\x87"); // i and a combining dot above
}

TEST(LetterCaseTest, neighboursOfARangeThatAlternatesStay) {
    EXPECT_EQ(lowercased("ĀāĂă"), "āāăă");
    EXPECT_EQ(uppercased("ĀāĂă"), "ĀĀĂĂ");
}

TEST(LetterCaseTest, titleCaseIsNotLowerCase) {
    EXPECT_EQ(lowercased("ǅ"), "ǆ");
}

TEST(LetterCaseTest, malformedBytesPass) {
    EXPECT_EQ(lowercased("A\xFF\xC3"), "a\xFF\xC3");
    EXPECT_EQ(uppercased("a\xED\xA0\x80z"), "A\xED\xA0\x80Z");
}

} // namespace
} // namespace vintra

#include "Vintra/platform/UTF8.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(UTF8Test, aTerminalIsGivenLinesOfPlainText) {
    EXPECT_EQ(printable("a\nb – 日本"), "a\nb – 日本");
    EXPECT_EQ(printable("a\x1b[2Jb\rc\td"), "a\uFFFD[2Jb\uFFFDc\uFFFDd");
    EXPECT_EQ(printable("a\u202Eb\xC2\x9B"), "a\uFFFDb\uFFFD");
    EXPECT_EQ(printable("a\x9B\xFF"), "a\uFFFD\uFFFD")
        << "bytes that are no text may be controls of eight bits";
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\uFFFDb");
}

TEST(UTF8Test, controlCharactersAreReplacedAndBytesThatAreNoTextStay) {
    EXPECT_EQ(replacingControlCharacters("a\x1b\xFF\u202Dé", "-"), "a-\xFF-é");
}

} // namespace
} // namespace vintra

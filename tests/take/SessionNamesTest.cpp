#include "Vintra/take/SessionNames.h"

#include "Vintra/platform/simulated/SimulatedFileManager.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

class FixedWallClock : public WallClock {
public:
    explicit FixedWallClock(LocalTime time)
        : time(time) {}
    Date now() const override { return {}; }
    LocalTime localTime(Date) const override { return time; }

private:
    LocalTime time;
};

const FixedWallClock kWallClock({2026, 3, 7, 9, 5, 1});
constexpr const char* kGenerated = "session_2026-03-07_090501";

std::string sanitized(const std::string& name) {
    return sanitizedSessionName(name, kWallClock);
}

TEST(SessionNamesTest, aGeneratedNameIsTheLocalTimeWithLeadingZeros) {
    EXPECT_EQ(generateSessionName(kWallClock), kGenerated);
    EXPECT_EQ(generateSessionName(FixedWallClock({2026, 12, 31, 23, 59, 58})), "session_2026-12-31_235958");
}

TEST(SessionNamesTest, slashesAndColonsBecomeHyphens) {
    EXPECT_EQ(sanitized("a/b:c"), "a-b-c");
    EXPECT_EQ(sanitized("/"), "-");
}

TEST(SessionNamesTest, whatWouldActOnATerminalOrTurnTheNameAroundBecomesAHyphen) {
    EXPECT_EQ(sanitized("a\x1b[31mb"), "a-[31mb");
    EXPECT_EQ(sanitized("a\nb\tc\x7f"), "a-b-c-");
    EXPECT_EQ(sanitized("a\xC2\x9B"
                        "b"),
              "a-b")
        << "a control character of eight bits";
    EXPECT_EQ(sanitized("cod\u202Evom.exe"), "cod-vom.exe");
    EXPECT_EQ(sanitized("a\u2066b\u2069\u2028c"), "a-b--c");
    EXPECT_EQ(sanitized("שלום\u200F!"), "שלום\u200F!") << "the marks of a script that runs to the left stay";
}

TEST(SessionNamesTest, aNameThatATakeHasIsNumbered) {
    SimulatedFileManager files;
    const URL folder = URL::fileURL("/tmp");
    EXPECT_EQ(unusedSessionName(files, folder, "take"), "take");
    files.put("/tmp/take_mic.wav");
    EXPECT_EQ(unusedSessionName(files, folder, "take"), "take-2");
    files.put("/tmp/.take-2.vintra");
    EXPECT_EQ(unusedSessionName(files, folder, "take"), "take-3") << "one that has only begun counts";
    files.put("/tmp/taken_mic.wav");
    EXPECT_EQ(unusedSessionName(files, folder, "tak"), "tak");
    EXPECT_EQ(unusedSessionName(files, URL::fileURL("/missing"), "take"), "take");
}

TEST(SessionNamesTest, leadingDotsGoSoThatNoFileIsHidden) {
    EXPECT_EQ(sanitized(".hidden"), "hidden");
    EXPECT_EQ(sanitized("...hidden.too"), "hidden.too");
    EXPECT_EQ(sanitized("../../etc"), "-..-etc");
}

TEST(SessionNamesTest, dotsAloneOrBlanksAloneYieldAGeneratedName) {
    EXPECT_EQ(sanitized(""), kGenerated);
    EXPECT_EQ(sanitized("..."), kGenerated);
    EXPECT_EQ(sanitized(" \t\n "), kGenerated);
    EXPECT_EQ(sanitized(" ... "), kGenerated);
}

TEST(SessionNamesTest, dotsBehindABlankAreNotLeadingOnes) {
    EXPECT_EQ(sanitized(". . ."), ". .");
}

TEST(SessionNamesTest, everyKindOfUnicodeBlankIsTrimmed) {
    EXPECT_EQ(sanitized("\u00A0\u2028take one\u3000\u2029\r\n"), "take one");
    EXPECT_EQ(sanitized("\u0085\u1680\u2000\u200A\u202F\u205F"), kGenerated);
}

TEST(SessionNamesTest, otherCharactersOfSeveralBytesStayWhole) {
    EXPECT_EQ(sanitized(" \u00E9t\u00E9 \u65E5\u672C\U0001F3A5 "), "\u00E9t\u00E9 \u65E5\u672C\U0001F3A5");
    EXPECT_EQ(sanitized("\u0120"), "\u0120"); // ends in the byte 0xA0, as the no-break space does
}

TEST(SessionNamesTest, bytesThatAreNoUTF8AreLeftAlone) {
    EXPECT_EQ(sanitized("\xFF\xA0"), "\xFF\xA0");
    EXPECT_EQ(sanitized(" a\xC2"), "a\xC2");
    EXPECT_EQ(sanitized("\xA0 b"), "\xA0 b");
}

} // namespace
} // namespace vintra

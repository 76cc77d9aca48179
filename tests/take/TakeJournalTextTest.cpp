#include "Vintra/take/TakeJournalText.h"

#include <gtest/gtest.h>
#include <random>

namespace vintra {
namespace {

namespace Text = TakeJournalText;
using Kind = TakeRecord::File::Kind;

TakeRecord wholeRecord() {
    TakeRecord record;
    record.take = "my take %20\n#1";
    record.noteID = "0C2F";
    record.editor = TimelineEditor::premiere;
    record.files = {
        {Kind::screen, "my take_video.mov"}, {Kind::camera, "my take_webcam.mov"}, {Kind::sound, "a b.wav"}};
    record.cameraSound = "a b.wav";
    record.commonStart = CMTimeMake(81'234'567'890, 1'000'000'000);
    record.firstStamps["a b.wav"] = CMTimeMake(-5, 48'000);
    record.markers = {0.1, 1e9 / 3};
    record.sizesBeforePadding["a b.wav"] = UINT64_MAX;
    return record;
}

std::string textOf(const TakeRecord& record) {
    std::string text = Text::head(record) + Text::commonStart(*record.commonStart);
    for (const auto& [file, stamp] : record.firstStamps)
        text += Text::firstStamp(file, stamp);
    for (const double seconds : record.markers)
        text += Text::marker(seconds);
    for (const auto& [file, size] : record.sizesBeforePadding)
        text += Text::sizeBeforePadding(file, size);
    return text;
}

TEST(TakeJournalTextTest, everyFactReadsBack) {
    const auto parsed = Text::parse(textOf(wholeRecord()));
    ASSERT_TRUE(parsed.has_value());
    EXPECT_FALSE(parsed->isFromNewerProgram);
    EXPECT_EQ(parsed->record, wholeRecord());
}

TEST(TakeJournalTextTest, aTextCutAnywhereGivesTheLinesBeforeTheCut) {
    const std::string text = textOf(wholeRecord());
    size_t facts = 0;
    for (size_t length = 0; length <= text.size(); ++length) {
        EXPECT_EQ(Text::lines(text.substr(0, length)).size(), facts) << length;
        // A line counts without its line feed too: its sum says that it is whole.
        if (length + 1 < text.size() && text[length + 1] == '\n') ++facts;
    }
}

TEST(TakeJournalTextTest, aTornLineSpoilsNoOther) {
    const std::string torn = Text::commonStart(CMTimeMake(1, 1));
    const std::string text =
        Text::head(wholeRecord()) + torn.substr(0, torn.size() - 3) + "\n" + Text::marker(7);
    const auto parsed = Text::parse(text);
    ASSERT_TRUE(parsed.has_value());
    EXPECT_FALSE(parsed->record.commonStart.has_value());
    EXPECT_EQ(parsed->record.markers, std::vector<double>{7});
}

TEST(TakeJournalTextTest, aChangedByteIsNeverBelieved) {
    const std::string line = Text::commonStart(CMTimeMake(123'456, 1000));
    const std::string head = Text::head(wholeRecord());
    for (size_t at = 0; at + 1 < line.size(); ++at) {
        for (const int change : {1, 2, 16, 64}) {
            std::string spoilt = line;
            spoilt[at] = static_cast<char>(spoilt[at] ^ change);
            const auto parsed = Text::parse(head + spoilt);
            ASSERT_TRUE(parsed.has_value());
            EXPECT_FALSE(parsed->record.commonStart.has_value()) << spoilt;
        }
    }
}

TEST(TakeJournalTextTest, bytesThatAreNoJournalAreNone) {
    std::mt19937 random(20261122);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(random() % 300, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        EXPECT_FALSE(Text::parse(bytes).has_value());
    }
    EXPECT_FALSE(Text::parse("").has_value());
    EXPECT_FALSE(Text::parse(std::string(1'000'000, '\n')).has_value());
    EXPECT_FALSE(Text::parse(Text::marker(1)).has_value()) << "without its first line";
    EXPECT_FALSE(Text::parse(Text::line({"vintra-take", "1"})).has_value()) << "without the take's name";
}

TEST(TakeJournalTextTest, aNewerFormIsKnownForOne) {
    const auto parsed = Text::parse(Text::line({"vintra-take", "2", "more"}) + Text::line({"unheard", "of"}));
    ASSERT_TRUE(parsed.has_value());
    EXPECT_TRUE(parsed->isFromNewerProgram);
}

TEST(TakeJournalTextTest, factsThatCantBeAreLeftOut) {
    const std::string head = Text::head(wholeRecord());
    const std::string text =
        head + Text::line({"file", "sound", "../../home/a.wav"}) + Text::line({"file", "film", "a"}) +
        Text::line({"start", "1", "0"}) + Text::line({"start", "x", "1"}) + Text::line({"marker", "inf"}) +
        Text::line({"padding", "a.wav", "-1"}) + Text::line({"take", ".."}) + Text::line({"file"});
    const auto parsed = Text::parse(text);
    ASSERT_TRUE(parsed.has_value());
    EXPECT_EQ(parsed->record, Text::parse(head)->record);
}

} // namespace
} // namespace vintra

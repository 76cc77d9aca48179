// Movies whose writer was killed, finished afterwards, and looked at with other eyes.

#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/MediaProbe.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

namespace vintra {
namespace {

class MovieRepairTest : public WriterFixture {
protected:
    static constexpr int kSlots = 300;
    static constexpr size_t kMostOfAFragment = 61; ///< pictures in two seconds

    /// A movie as a kill leaves it, with at least so many pictures on the disk; finished beside it as "whole.mov".
    std::string unfinishedMovie(size_t pictures) {
        const URL url = folder.file("whole.mov");
        const auto open = beginMovie("whole.mov", {WriterFixture::pictures(64, 48), aac(1)});
        for (int n = 0; n < kSlots; ++n) {
            const auto grey = static_cast<uint8_t>(n % 200);
            const CMTime time = start + CMTimeMake(7, 600) + CMTimeMake(n, 30);
            EXPECT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                        picture(solid(64, 48, grey, grey, grey), time, 30)));
            EXPECT_TRUE(
                appendWhenReady(*open.inputs[1], *open.writer,
                                sound(std::vector<float>(1600, static_cast<float>(n % 10) / 20), 1, time)));
        }
        std::string unfinished;
        while (unfinished.empty() || packetCount(unfinished) < pictures)
            unfinished = bytesOf("whole.mov");
        EXPECT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
        return unfinished;
    }
    size_t packetCount(const std::string& bytes) {
        put("probed.mov", bytes);
        try {
            const MediaProbe probe(folder.file("probed.mov"));
            return probe.tracks().empty() ? 0 : probe.track(0).packets.size();
        } catch (const std::exception&) {
            return 0;
        }
    }
    std::string bytesOf(const std::string& name) const {
        std::ifstream file(folder.file(name).path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void put(const std::string& name, const std::string& bytes) const {
        std::ofstream(folder.file(name).path(), std::ios::binary | std::ios::trunc) << bytes;
    }
    std::string repaired(const std::string& bytes) {
        put("repaired.mov", bytes);
        makers.repairMovie(folder.file("repaired.mov"));
        return bytesOf("repaired.mov");
    }
    /// The types of the file's own atoms.
    static std::vector<std::string> atoms(const std::string& bytes) {
        std::vector<std::string> types;
        const auto number = [&bytes](size_t at, size_t count) {
            uint64_t value = 0;
            for (size_t i = 0; i < count; ++i)
                value = value << 8 | static_cast<uint8_t>(bytes[at + i]);
            return value;
        };
        for (size_t at = 0; at + 16 <= bytes.size();) {
            types.push_back(bytes.substr(at + 4, 4));
            const uint64_t size = number(at, 4);
            at += size == 1 ? number(at + 8, 8) : std::max<uint64_t>(size, 8);
        }
        return types;
    }
};

TEST_F(MovieRepairTest, aKilledMovieBecomesAnOrdinaryOneWithEveryPicture) {
    const std::string unfinished = unfinishedMovie(240);
    put("before.mov", unfinished);
    const MediaProbe before(folder.file("before.mov"));
    EXPECT_EQ(atoms(repaired(unfinished)), (std::vector<std::string>{"ftyp", "mdat", "moov"}));

    const MediaProbe whole(folder.file("whole.mov"));
    const MediaProbe after(folder.file("repaired.mov"));
    ASSERT_EQ(after.tracks().size(), 2u);
    for (size_t track = 0; track < 2; ++track) {
        const auto& packets = after.track(track).packets;
        ASSERT_EQ(packets.size(), before.track(track).packets.size());
        for (size_t i = 0; i < packets.size(); ++i) {
            EXPECT_EQ(packets[i].time, whole.track(track).packets[i].time) << i;
            EXPECT_EQ(packets[i].isKey, whole.track(track).packets[i].isKey) << i;
            EXPECT_EQ(packets[i].size, whole.track(track).packets[i].size) << i;
        }
        EXPECT_EQ(after.track(track).codec, whole.track(track).codec);
    }
    EXPECT_EQ(after.track(0).width, 64);
    EXPECT_NEAR(after.duration(), static_cast<double>(after.track(0).packets.size()) / 30 + 7.0 / 600, 0.05);
    const auto lumaBefore = MediaProbe::luma(folder.file("before.mov"));
    EXPECT_EQ(MediaProbe::luma(folder.file("repaired.mov")), lumaBefore);
    // What the encoder gives before the sound proper isn't heard any more, as in the whole movie.
    const auto soundBefore = MediaProbe::sound(folder.file("before.mov"), 0);
    const auto soundAfter = MediaProbe::sound(folder.file("repaired.mov"), 0);
    const auto soundWhole = MediaProbe::sound(folder.file("whole.mov"), 0);
    EXPECT_GE(soundAfter.values.size() + 2048, soundBefore.values.size());
    ASSERT_LE(soundAfter.values.size(), soundWhole.values.size());
    EXPECT_TRUE(std::equal(soundAfter.values.begin(), soundAfter.values.end(), soundWhole.values.begin()));
    EXPECT_NEAR(soundAfter.start, soundWhole.start, 1e-6);
}

TEST_F(MovieRepairTest, aMovieCutAnywhereKeepsEveryWholeFragment) {
    const std::string unfinished = unfinishedMovie(200);
    const MediaProbe whole(folder.file("whole.mov"));
    std::mt19937 random(20261122);
    size_t repairs = 0;
    for (int round = 0; round < 40; ++round) {
        const size_t length = random() % unfinished.size();
        SCOPED_TRACE("cut at " + std::to_string(length));
        const std::string cut = unfinished.substr(0, length);
        const size_t before = packetCount(cut);
        const std::string after = repaired(cut);
        if (after == cut) {
            EXPECT_LE(before, kMostOfAFragment) << "not even the first fragment is whole";
            continue;
        }
        ++repairs;
        const MediaProbe probe(folder.file("repaired.mov"));
        const auto& packets = probe.track(0).packets;
        ASSERT_LE(packets.size(), whole.track(0).packets.size());
        EXPECT_GE(packets.size() + kMostOfAFragment, before) << "the torn fragment alone is lost";
        for (size_t i = 0; i < packets.size(); ++i)
            ASSERT_EQ(packets[i].time, whole.track(0).packets[i].time) << i;
        EXPECT_EQ(MediaProbe::luma(folder.file("repaired.mov")).size(), packets.size());
    }
    EXPECT_GT(repairs, 20u);
}

TEST_F(MovieRepairTest, aFinishedMovieAndAnyOtherFileStayAsTheyAre) {
    unfinishedMovie(1);
    const std::string whole = bytesOf("whole.mov");
    EXPECT_EQ(repaired(whole), whole);
    for (const std::string bytes : {"", "text", "RIFF----WAVE"})
        EXPECT_EQ(repaired(bytes), bytes);
    EXPECT_NO_THROW(makers.repairMovie(folder.file("missing.mov")));
}

TEST_F(MovieRepairTest, aRepairThatIsCutOffIsMadeAgain) {
    const std::string unfinished = unfinishedMovie(100);
    const std::string whole = repaired(unfinished);
    EXPECT_EQ(repaired(whole), whole);
    // The free atom is the last that a repair writes over.
    const size_t freeAtom = unfinished.find("free") - 4;
    for (const size_t kept : {whole.size(), whole.size() - 1, whole.size() - 500}) {
        std::string half = whole.substr(0, kept);
        half.replace(freeAtom, 16, unfinished.substr(freeAtom, 16));
        EXPECT_EQ(repaired(half), whole) << kept;
    }
}

TEST_F(MovieRepairTest, spoiltBytesDoNoHarm) {
    const std::string unfinished = unfinishedMovie(60).substr(0, 20'000);
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        std::string spoilt = unfinished;
        const size_t reach = random() % 2 ? 1500 : spoilt.size(); // often in the header
        for (int change = 0; change < 3; ++change)
            spoilt[random() % reach] = static_cast<char>(random());
        put("repaired.mov", spoilt);
        EXPECT_NO_THROW(makers.repairMovie(folder.file("repaired.mov"))) << round;
    }
}

} // namespace
} // namespace vintra

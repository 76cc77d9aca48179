#include "Vintra/take/WavFile.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/simulated/SimulatedFileManager.h"
#include "Vintra/platform/simulated/SimulatedProcessInfo.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <utility>

namespace vintra {
namespace {

using Bytes = std::vector<uint8_t>;
/// An open file that counts itself and the longest transfer.
class WatchedHandle : public FileHandle {
public:
    struct Watch {
        int openHandles = 0;
        size_t longestTransfer = 0;
    };

    WatchedHandle(std::unique_ptr<FileHandle> handle, Watch& watch)
        : handle(std::move(handle))
        , watch(watch) {
        ++watch.openHandles;
    }
    ~WatchedHandle() override { --watch.openHandles; }
    size_t read(uint8_t* bytes, size_t count) override {
        watch.longestTransfer = std::max(watch.longestTransfer, count);
        return handle->read(bytes, count);
    }
    void write(const uint8_t* bytes, size_t count) override {
        watch.longestTransfer = std::max(watch.longestTransfer, count);
        handle->write(bytes, count);
    }
    void seek(uint64_t offset) override { handle->seek(offset); }
    void close() override { handle->close(); }
    void synchronize() override { handle->synchronize(); }

private:
    std::unique_ptr<FileHandle> handle;
    Watch& watch;
};

/// A disk of which any one operation can be made to fail.
class WatchedFiles : public SimulatedFileManager {
public:
    WatchedFiles() {
        disk->fails = [this](SimulatedFileOperation operation, const std::string&) {
            return operation != SimulatedFileOperation::removeItem && steps++ == failingStep;
        };
    }
    uint64_t sizeOfFile(const URL& at) const override {
        return reportedSize ? *reportedSize : SimulatedFileManager::sizeOfFile(at);
    }
    std::unique_ptr<FileHandle> openForReading(const URL& at) override {
        return std::make_unique<WatchedHandle>(SimulatedFileManager::openForReading(at), watch);
    }
    std::unique_ptr<FileHandle> openForWriting(const URL& at) override {
        return std::make_unique<WatchedHandle>(SimulatedFileManager::openForWriting(at), watch);
    }
    std::vector<std::string> created() const {
        std::vector<std::string> made;
        for (const auto& record : disk->records) {
            if (record.operation == SimulatedFileOperation::createFile) made.push_back(record.path);
        }
        return made;
    }
    void write(const URL& at, const Bytes& bytes) { put(at.path(), {bytes.begin(), bytes.end()}); }
    Bytes read(const URL& at) const {
        const std::string bytes = contents(at.path()).value_or("");
        return {bytes.begin(), bytes.end()};
    }

    std::optional<uint64_t> reportedSize;
    int failingStep = -1; ///< of all operations, from 0
    int steps = 0;
    WatchedHandle::Watch watch;
};

void append(Bytes& bytes, const std::string& text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

void appendNumber(Bytes& bytes, uint64_t number, int length) {
    for (int index = 0; index < length; ++index)
        bytes.push_back(static_cast<uint8_t>(number >> (8 * index)));
}

uint32_t number32(const Bytes& bytes, size_t at) {
    return static_cast<uint32_t>(bytes[at]) | static_cast<uint32_t>(bytes[at + 1]) << 8 |
           static_cast<uint32_t>(bytes[at + 2]) << 16 | static_cast<uint32_t>(bytes[at + 3]) << 24;
}

struct WavOptions {
    uint32_t channels = 2;
    uint32_t sampleRate = 48'000;
    uint32_t bits = 24;
    std::string chunksBeforeFormat{};
    std::string chunksBeforeData{};
    std::string chunksAfterData{};
    std::optional<uint32_t> declaredDataSize{};
    size_t dataLength = 600;
};

std::string chunk(const std::string& id, const std::string& body) {
    Bytes bytes;
    append(bytes, id);
    appendNumber(bytes, body.size(), 4);
    append(bytes, body);
    if (body.size() % 2 == 1) bytes.push_back(0);
    return {bytes.begin(), bytes.end()};
}

/// A WAV by the book: RIFF, format chunk of 16 bytes, samples that count up.
Bytes wav(const WavOptions& options = {}) {
    Bytes chunks;
    append(chunks, options.chunksBeforeFormat);
    append(chunks, "fmt ");
    appendNumber(chunks, 16, 4);
    appendNumber(chunks, 1, 2);
    appendNumber(chunks, options.channels, 2);
    appendNumber(chunks, options.sampleRate, 4);
    appendNumber(chunks, options.sampleRate * options.channels * options.bits / 8, 4);
    appendNumber(chunks, options.channels * options.bits / 8, 2);
    appendNumber(chunks, options.bits, 2);
    append(chunks, options.chunksBeforeData);
    append(chunks, "data");
    appendNumber(chunks, options.declaredDataSize.value_or(static_cast<uint32_t>(options.dataLength)), 4);
    for (size_t index = 0; index < options.dataLength; ++index)
        chunks.push_back(static_cast<uint8_t>(index % 251 + 1));
    append(chunks, options.chunksAfterData);
    Bytes file;
    append(file, "RIFF");
    appendNumber(file, chunks.size() + 4, 4);
    append(file, "WAVE");
    file.insert(file.end(), chunks.begin(), chunks.end());
    return file;
}

class WavFileTest : public testing::Test {
protected:
    const URL recorded = URL::fileURL("/films/a_mic.wav");
    WatchedFiles files;
    SimulatedProcessInfo process;

    std::optional<WavHeader> headerOf(const Bytes& bytes) {
        files.write(recorded, bytes);
        return readWavHeader(files, recorded);
    }
    Bytes padded(const Bytes& bytes, double gapSeconds) {
        files.write(recorded, bytes);
        padWavFileWithLeadingSilence(files, process, recorded, gapSeconds);
        EXPECT_EQ(files.watch.openHandles, 0);
        EXPECT_EQ(files.paths(), std::vector<std::string>{recorded.path()});
        return files.read(recorded);
    }
};

TEST_F(WavFileTest, theHeaderIsReadFromTheFormatChunk) {
    const auto header = headerOf(wav());
    ASSERT_TRUE(header);
    EXPECT_EQ(header->dataStart, 44u);
    EXPECT_EQ(header->bytes.size(), 44u);
    EXPECT_EQ(header->declaredDataSize, 600u);
    EXPECT_EQ(header->fileSize, 644u);
    EXPECT_EQ(header->sampleRate, 48'000u);
    EXPECT_EQ(header->blockAlign, 6u);
    EXPECT_EQ(files.watch.openHandles, 0);
}

TEST_F(WavFileTest, theFrameLengthIsWorkedOutNotRead) {
    Bytes bytes = wav();
    bytes[32] = 99; // the file's own block align
    EXPECT_EQ(headerOf(bytes)->blockAlign, 6u);
}

TEST_F(WavFileTest, aFileOf44BytesHasNoHeaderAndOneOf45Has) {
    EXPECT_FALSE(headerOf(wav({.dataLength = 0})));
    EXPECT_TRUE(headerOf(wav({.dataLength = 1})));
    files.reportedSize = 44;
    EXPECT_FALSE(headerOf(wav()));
    files.reportedSize = 4000; // the file system says more than can be read
    EXPECT_FALSE(headerOf(wav({.dataLength = 0})));
}

TEST_F(WavFileTest, whatIsNotRIFFAndWAVEHasNoHeader) {
    Bytes bytes = wav();
    bytes[3] = 'X';
    EXPECT_FALSE(headerOf(bytes));
    bytes = wav();
    bytes[8] = 'w';
    EXPECT_FALSE(headerOf(bytes));
}

TEST_F(WavFileTest, aChunkBeforeTheDataIsSteppedOver) {
    const auto header = headerOf(wav({.chunksBeforeData = chunk("LIST", "INFOabcd")}));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->dataStart, 44u + 16);
    EXPECT_EQ(header->declaredDataSize, 600u);
}

TEST_F(WavFileTest, thePadByteOfAnOddChunkIsSkipped) {
    const auto header = headerOf(wav({.chunksBeforeFormat = chunk("JUNK", "abc")}));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->dataStart, 44u + 12);
    EXPECT_EQ(header->sampleRate, 48'000u);
}

TEST_F(WavFileTest, aFormatChunkBehindTheDataIsNotSeen) {
    Bytes bytes = wav();
    std::copy_n("JUNK", 4, bytes.begin() + 12); // hides the one before
    append(bytes, chunk("fmt ", std::string(16, '\1')));
    EXPECT_FALSE(headerOf(bytes));
}

TEST_F(WavFileTest, aFormatChunkNeeds16Bytes) {
    Bytes bytes = wav();
    bytes[16] = 14; // "fmt " of 14 bytes, then what reads as a chunk of id 18 00 "da" and size "ta..."
    EXPECT_FALSE(headerOf(bytes));
    EXPECT_FALSE(headerOf(wav({.chunksBeforeData = chunk("fmt ", std::string(14, '\1'))})));
    const std::string second("\3\0\1\0\x44\xAC\0\0\0\0\0\0\4\0\x20\0\0\0", 18);
    const auto longer = headerOf(wav({.chunksBeforeData = chunk("fmt ", second)}));
    ASSERT_TRUE(longer); // the later of two counts
    EXPECT_EQ(longer->sampleRate, 44'100u);
    EXPECT_EQ(longer->blockAlign, 4u);
}

TEST_F(WavFileTest, aFormatChunkThatRunsOutOfTheFileGivesNothing) {
    Bytes bytes = wav({.dataLength = 20});
    bytes[17] = 0xFF;
    EXPECT_FALSE(headerOf(bytes));
}

TEST_F(WavFileTest, aFileWithoutADataChunkHasNoHeader) {
    Bytes bytes = wav();
    std::copy_n("DATA", 4, bytes.begin() + 36);
    EXPECT_FALSE(headerOf(bytes));
}

TEST_F(WavFileTest, aChunkOfTheLargestSizeEndsTheWalk) {
    Bytes bytes = wav();
    std::copy_n("JUNK\xFF\xFF\xFF\xFF", 8, bytes.begin() + 36);
    EXPECT_FALSE(headerOf(bytes));
}

TEST_F(WavFileTest, samplesMustBeginWithinTheFirst64KiB) {
    // RIFF 12, fmt 24, chunk header 8, its body, data header 8.
    const auto fitting = headerOf(wav({.chunksBeforeData = chunk("LIST", std::string(65'536 - 52, 'x'))}));
    ASSERT_TRUE(fitting);
    EXPECT_EQ(fitting->dataStart, 65'536u);
    EXPECT_FALSE(headerOf(wav({.chunksBeforeData = chunk("LIST", std::string(65'536 - 50, 'x'))})));
}

TEST_F(WavFileTest, aDataSizeBeyondTheFileIsCapped) {
    EXPECT_EQ(headerOf(wav({.declaredDataSize = 0xFFFF'FFFF}))->declaredDataSize, 600u);
    EXPECT_EQ(headerOf(wav({.declaredDataSize = 500}))->declaredDataSize, 500u);
}

TEST_F(WavFileTest, aFileThatHasShrunkBelowItsHeaderHasNone) {
    files.reportedSize = 50;
    EXPECT_TRUE(headerOf(wav()));
    EXPECT_FALSE(headerOf(wav({.chunksBeforeData = chunk("LIST", "INFO")})));
}

TEST_F(WavFileTest, framesOfNoLengthAndRatesOfZeroGiveNothing) {
    EXPECT_FALSE(headerOf(wav({.channels = 0})));
    EXPECT_FALSE(headerOf(wav({.channels = 1, .bits = 7})));
    EXPECT_TRUE(headerOf(wav({.channels = 1, .bits = 8})));
    EXPECT_FALSE(headerOf(wav({.sampleRate = 0})));
}

TEST_F(WavFileTest, readingAHeaderPassesOnTheFileSystemsError) {
    EXPECT_THROW(readWavHeader(files, recorded), SystemError);
    for (int failing = 0; failing < 4; ++failing) { // open, two reads, close
        files.failingStep = failing;
        files.steps = 0;
        EXPECT_THROW(headerOf(wav()), SystemError) << failing;
        EXPECT_EQ(files.watch.openHandles, 0);
    }
}

TEST_F(WavFileTest, halfASecondOfSilenceGoesBeforeTheSamples) {
    const Bytes before = wav();
    const Bytes after = padded(before, 0.5);
    ASSERT_EQ(after.size(), before.size() + 144'000); // 24,000 frames of 6 bytes
    EXPECT_EQ(number32(after, 4), number32(before, 4) + 144'000);
    EXPECT_EQ(number32(after, 40), number32(before, 40) + 144'000);
    EXPECT_TRUE(std::equal(before.begin() + 8, before.begin() + 40, after.begin() + 8));
    EXPECT_TRUE(
        std::all_of(after.begin() + 44, after.begin() + 44 + 144'000, [](uint8_t b) { return b == 0; }));
    EXPECT_TRUE(std::equal(before.begin() + 44, before.end(), after.begin() + 44 + 144'000));
}

TEST_F(WavFileTest, gapsUpToTenMillisecondsAreLeftAlone) {
    const Bytes before = wav();
    for (const double gap : {0.01, 0.005, 0.0, -1.0, std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(padded(before, gap), before) << gap;
    EXPECT_EQ(padded(before, 0.0101).size(), before.size() + 485 * 6); // 484.8 frames
}

TEST_F(WavFileTest, aGapBelowHalfAFrameAddsNothing) {
    const Bytes slow = wav({.sampleRate = 20});
    EXPECT_EQ(padded(slow, 0.024), slow);
    EXPECT_EQ(padded(slow, 0.025).size(), slow.size() + 6);
}

TEST_F(WavFileTest, aGapLongerThanAnyDiskIsLeftAlone) {
    EXPECT_EQ(padded(wav(), 1e300), wav());
}

TEST_F(WavFileTest, aChunkBeforeTheDataSurvivesInPlace) {
    const WavOptions options{.chunksBeforeData = chunk("LIST", "INFOabcd")};
    const Bytes before = wav(options);
    const Bytes after = padded(before, 0.5);
    EXPECT_TRUE(std::equal(before.begin() + 8, before.begin() + 56, after.begin() + 8));
    EXPECT_EQ(number32(after, 56), 144'600u);
}

TEST_F(WavFileTest, aChunkBehindTheDataIsCopiedAndNotCountedAsSamples) {
    const Bytes before = wav({.chunksAfterData = chunk("LIST", "INFOabcd")});
    const Bytes after = padded(before, 0.5);
    EXPECT_EQ(number32(after, 40), 144'600u);
    EXPECT_EQ(number32(after, 4), after.size() - 8);
    EXPECT_TRUE(std::equal(before.begin() + 44, before.end(), after.begin() + 44 + 144'000));
}

TEST_F(WavFileTest, sizesBeyond32BitsSaturateAndTheSamplesAreStillCopied) {
    files.reportedSize = 0xFFFF'FFFF;
    const Bytes before = wav({.declaredDataSize = 0xFFFF'FFFF});
    const Bytes after = padded(before, 0.5);
    EXPECT_EQ(number32(after, 4), 0xFFFF'FFFFu);
    EXPECT_EQ(number32(after, 40), 0xFFFF'FFFFu);
    EXPECT_EQ(after.size(), before.size() + 144'000);
}

TEST_F(WavFileTest, aLongFileGoesInPiecesOfFourMebibytes) {
    const Bytes before = wav({.dataLength = 4'300'000});
    const Bytes after = padded(before, 15.0); // 4,320,000 bytes of silence
    EXPECT_EQ(files.watch.longestTransfer, 4'194'304u);
    ASSERT_EQ(after.size(), before.size() + 4'320'000);
    EXPECT_TRUE(std::equal(before.begin() + 44, before.end(), after.begin() + 44 + 4'320'000));
}

TEST_F(WavFileTest, theNewFileIsMadeHiddenInTheSameFolder) {
    const std::string id = SimulatedProcessInfo().makeUUID().uuidString();
    padded(wav(), 0.5);
    EXPECT_EQ(files.created(), std::vector<std::string>{"/films/.a_mic.wav.padding-" + id});
}

TEST_F(WavFileTest, aFailureAtAnyStepLeavesTheRecordedFileAndNothingElse) {
    const Bytes before = wav();
    EXPECT_NE(padded(before, 0.5), before);
    const int stepsInAll = files.steps;
    ASSERT_GT(stepsInAll, 10);
    for (int failing = 0; failing < stepsInAll; ++failing) {
        files.failingStep = failing;
        files.steps = 0;
        const Bytes after = padded(before, 0.5);
        EXPECT_TRUE(after == before) << failing;
    }
}

TEST_F(WavFileTest, aFileThatIsNoWAVIsLeftAlone) {
    const Bytes text(5000, 'a');
    EXPECT_EQ(padded(text, 0.5), text);
    EXPECT_TRUE(files.created().empty());
    padWavFileWithLeadingSilence(files, process, URL::fileURL("/films/none.wav"), 0.5);
    EXPECT_EQ(files.paths().size(), 1u);
}

TEST_F(WavFileTest, malformedFrontsNeverDoHarm) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const Bytes good =
        wav({.chunksBeforeData = chunk("LIST", "INFOabcd"), .chunksAfterData = chunk("id3 ", "x")});
    for (int round = 0; round < 1000; ++round) {
        Bytes bytes = good;
        for (int change = 0; change < 4; ++change)
            bytes[random() % 80] = static_cast<uint8_t>(random());
        bytes.resize(40 + random() % (bytes.size() - 39));
        if (const auto header = headerOf(bytes)) {
            EXPECT_EQ(header->bytes.size(), header->dataStart);
            EXPECT_LE(header->dataStart + header->declaredDataSize, bytes.size());
            EXPECT_GE(header->blockAlign, 1u);
        }
    }
}

TEST_F(WavFileTest, aFileIsBroughtToItsLengthByTrailingSilence) {
    const Bytes before = wav(); // 100 frames
    files.write(recorded, before);
    alignWavFile(files, process, recorded, 0.5, 24'150);
    const Bytes after = files.read(recorded);
    ASSERT_EQ(after.size(), 44u + 24'150 * 6);
    EXPECT_EQ(number32(after, 40), 24'150u * 6);
    EXPECT_EQ(number32(after, 4), after.size() - 8);
    EXPECT_TRUE(std::equal(before.begin() + 44, before.end(), after.begin() + 44 + 144'000));
    EXPECT_TRUE(std::all_of(after.end() - 300, after.end(), [](uint8_t b) { return b == 0; }));
    alignWavFile(files, process, recorded, 0, 20'000);
    EXPECT_EQ(files.read(recorded), after) << "nothing is cut off";
}

TEST_F(WavFileTest, theByteThatMakesAChunkEvenFollowsTheTrailingSilence) {
    const std::string note = chunk("note", "as it was");
    Bytes before = wav({.channels = 1, .dataLength = 9}); // 3 frames, odd
    before.push_back(0);
    append(before, note);
    files.write(recorded, before);
    alignWavFile(files, process, recorded, 0, 5);
    const Bytes after = files.read(recorded);
    EXPECT_EQ(number32(after, 40), 15u);
    ASSERT_EQ(after.size(), 44u + 16 + note.size());
    EXPECT_EQ(std::string(after.begin() + 60, after.end()), note);
    EXPECT_EQ(number32(after, 4), after.size() - 8);
    alignWavFile(files, process, recorded, 0, 6);
    EXPECT_EQ(files.read(recorded).size(), 44u + 18 + note.size()) << "an even one has none";
}

TEST_F(WavFileTest, aHeaderWithRoomBecomesRF64InPlace) {
    const auto header = headerOf(wav({.chunksBeforeFormat = chunk("JUNK", std::string(28, 'x'))}));
    ASSERT_TRUE(header);
    EXPECT_EQ(wavHeaderWithSizes(*header, 5'000, 4'920), [&] {
        Bytes same = header->bytes;
        for (int i = 0; i < 4; ++i) {
            same[4 + static_cast<size_t>(i)] = static_cast<uint8_t>(5'000 >> (8 * i));
            same[76 + static_cast<size_t>(i)] = static_cast<uint8_t>(4'920 >> (8 * i));
        }
        return same;
    }()) << "below 4 GiB nothing but the sizes changes";
    const Bytes large = wavHeaderWithSizes(*header, 6'000'000'072, 6'000'000'000);
    EXPECT_EQ(std::string(large.begin(), large.begin() + 4), "RF64");
    EXPECT_EQ(std::string(large.begin() + 12, large.begin() + 16), "ds64");
    EXPECT_EQ(number32(large, 4), 0xFFFF'FFFFu);
    EXPECT_EQ(number32(large, 76), 0xFFFF'FFFFu);
    EXPECT_EQ(number32(large, 20) + (uint64_t{number32(large, 24)} << 32), 6'000'000'072u);
    EXPECT_EQ(number32(large, 28) + (uint64_t{number32(large, 32)} << 32), 6'000'000'000u);
    EXPECT_EQ(number32(large, 36), 1'000'000'000u) << "frames";
    EXPECT_EQ(number32(large, 44), 0u) << "no table";

    files.reportedSize = 6'000'000'080;
    const auto again = headerOf([&] {
        Bytes file = large;
        file.resize(600, 1);
        return file;
    }());
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->isRF64);
    EXPECT_EQ(again->declaredDataSize, 6'000'000'000u);
}

TEST_F(WavFileTest, roomThatIsTooSmallOrNotInFrontIsNoRoom) {
    EXPECT_FALSE(headerOf(wav({.chunksBeforeFormat = chunk("JUNK", std::string(27, 'x'))}))->largeSizesAt);
    EXPECT_FALSE(headerOf(wav({.chunksBeforeData = chunk("JUNK", std::string(28, 'x'))}))->largeSizesAt);
}

} // namespace
} // namespace vintra

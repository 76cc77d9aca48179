#include "Vintra/platform/linux/movie/WaveHeader.h"

#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "Vintra/take/WavFile.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace vintra {
namespace {

AVAudioSettings settingsOf(uint32_t channels) {
    AVAudioSettings settings;
    settings.numberOfChannels = channels;
    return settings;
}

/// Files of many gigabytes that take no room on the disk.
class WaveHeaderTest : public testing::Test {
protected:
    URL makeSparse(const std::string& name, uint32_t channels, uint64_t dataSize) {
        const auto header = waveHeader(settingsOf(channels), dataSize);
        const URL url = folder.write(name, std::string(header.begin(), header.end()));
        std::filesystem::resize_file(url.path(), header.size() + dataSize);
        return url;
    }
    static std::string ffprobe(const URL& url) {
        std::string text = runProgram({"ffprobe", "-v", "error", "-select_streams", "a:0", "-of", "csv=p=0",
                                       "-show_entries", "stream=duration_ts", url.path()})
                               .output;
        return text.substr(0, text.find_first_of(",\n"));
    }
    TemporaryFolder folder;
    LinuxFileManager files;
    LinuxAssetProbing probing;
};

TEST_F(WaveHeaderTest, aFileThatGrowsBeyondFourGibibytesGoesOverInPlace) {
    for (const uint32_t channels : {1u, 2u, 8u}) {
        const auto small = waveHeader(settingsOf(channels), 6);
        const auto large = waveHeader(settingsOf(channels), 5'000'000'016);
        EXPECT_EQ(small.size(), large.size());
        EXPECT_EQ(std::string(small.begin(), small.begin() + 4), "RIFF");
        EXPECT_EQ(std::string(large.begin(), large.begin() + 4), "RF64");
        EXPECT_EQ(std::string(large.begin() + 12, large.begin() + 16), "ds64");
    }
}

TEST_F(WaveHeaderTest, theLastFileOfFourGibibytesIsAPlainOne) {
    // 80 bytes of header, of which 8 don't count.
    const uint64_t last = 0xFFFF'FFFE - 72;
    EXPECT_EQ(waveHeader(settingsOf(2), last)[1], 'I');
    EXPECT_EQ(waveHeader(settingsOf(2), last + 2)[1], 'F');
}

TEST_F(WaveHeaderTest, fiveHoursOfStereoAreReadByOthersAndByTheProbe) {
    const int64_t frames = int64_t{5} * 3600 * 48'000; // 5.2 GB
    const URL url = makeSparse("long.wav", 2, static_cast<uint64_t>(frames) * 6);
    EXPECT_EQ(ffprobe(url), std::to_string(frames));
    const auto duration = probing.asset(url)->loadDuration();
    ASSERT_TRUE(duration);
    EXPECT_EQ(*duration, CMTimeMake(int64_t{5} * 3600, 1));
    const auto header = readWavHeader(files, url);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->declaredDataSize, static_cast<uint64_t>(frames) * 6);
    EXPECT_TRUE(header->isRF64);
}

TEST_F(WaveHeaderTest, paddingTakesAFileBeyondFourGibibytes) {
    // The header alone: what the surgery writes for a file of that size.
    const uint64_t dataSize = 0xFFFF'FFFE - 72 - 1'000 * 6;
    const URL url = makeSparse("almost.wav", 2, dataSize / 6 * 6);
    const auto header = readWavHeader(files, url);
    ASSERT_TRUE(header);
    EXPECT_FALSE(header->isRF64);
    const uint64_t padded = header->declaredDataSize + 6 * 48'000;
    const auto bytes = wavHeaderWithSizes(*header, header->dataStart + padded - 8, padded);
    EXPECT_EQ(bytes, waveHeader(settingsOf(2), padded));
}

TEST_F(WaveHeaderTest, aLargeFileThatIsCutShortFails) {
    const URL url = makeSparse("cut.wav", 2, 5'000'000'016);
    ASSERT_TRUE(probing.asset(url)->loadDuration());
    std::filesystem::resize_file(url.path(), 4'999'999'000);
    EXPECT_FALSE(probing.asset(url)->loadDuration());
}

} // namespace
} // namespace vintra

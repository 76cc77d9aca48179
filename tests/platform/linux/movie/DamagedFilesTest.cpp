// A thousand damaged WAVs and movies: whatever is in them, probing comes back, soon and with facts that can be.

#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "Vintra/take/WavFile.h"
#include "Vintra/timeline/Media.h"
#include "tests/support/ByteMutation.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>

namespace vintra {
namespace {

constexpr unsigned kDamagedWavs = 400; // of each kind
constexpr unsigned kDamagedMovies = 100;
constexpr double kLongestProbe = 5; // seconds, on a machine that is busy with other things as well

class DamagedFilesTest : public testing::Test {
protected:
    std::string make(const std::string& name, std::vector<std::string> options) {
        options.insert(options.begin(), {"ffmpeg", "-v", "error", "-y"});
        options.push_back(folder.file(name).path());
        const ProgramRun run = runProgram(options);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return folder.read(name);
    }
    void probeDamaged(const std::string& original, const std::string& extension, unsigned count) {
        ASSERT_FALSE(original.empty());
        for (unsigned seed = 1; seed <= count; ++seed) {
            SCOPED_TRACE(extension + ", seed " + std::to_string(seed));
            std::mt19937 random(seed);
            const URL url = folder.write("damaged" + extension, damaged(original, random));
            const auto begin = std::chrono::steady_clock::now();
            const auto media = TimelineFile::Media::probe(url, probing);
            const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
            EXPECT_LT(seconds.count(), kLongestProbe);
            if (media) {
                EXPECT_LE(media->channels(), 128);
                EXPECT_LE(CMTimeGetSeconds(media->duration), 7 * 24 * 3600.0);
                EXPECT_LE(std::max(media->width, media->height), 65'536);
            }
            const auto header = readWavHeader(files, url);
            if (header) {
                EXPECT_LE(header->dataStart + header->declaredDataSize, header->fileSize);
            }
        }
    }
    TemporaryFolder folder;
    LinuxAssetProbing probing;
    LinuxFileManager files;
};

TEST_F(DamagedFilesTest, wavs) {
    probeDamaged(make("a.wav", {"-f", "lavfi", "-i", "sine=d=0.2:r=48000", "-ac", "2", "-c:a", "pcm_s24le"}),
                 ".wav", kDamagedWavs);
}

TEST_F(DamagedFilesTest, largeWavs) {
    probeDamaged(
        make("b.wav", {"-f", "lavfi", "-i", "sine=d=0.2:r=48000", "-c:a", "pcm_s24le", "-rf64", "always"}),
        ".wav", kDamagedWavs);
}

TEST_F(DamagedFilesTest, movies) {
    const std::vector<std::string> source = {"-f",   "lavfi",   "-i",      "testsrc2=s=64x64:d=0.3:r=30",
                                             "-f",   "lavfi",   "-i",      "sine=d=0.3:r=48000",
                                             "-c:v", "libx264", "-preset", "ultrafast",
                                             "-c:a", "aac"};
    auto front = source;
    front.insert(front.end(), {"-movflags", "+faststart"});
    probeDamaged(make("front.mov", front), ".mov", kDamagedMovies);
    auto fragments = source;
    fragments.insert(fragments.end(), {"-movflags", "frag_keyframe+empty_moov"});
    probeDamaged(make("fragments.mov", fragments), ".mov", kDamagedMovies);
}

TEST_F(DamagedFilesTest, aWavThatClaimsThousandsOfChannelsIsNotBelieved) {
    std::string bytes =
        make("c.wav", {"-f", "lavfi", "-i", "sine=d=1:r=48000", "-ac", "1", "-c:a", "pcm_s24le"});
    for (const int channels : {129, 1024, 4096, 65535}) {
        bytes[22] = static_cast<char>(channels & 255);
        bytes[23] = static_cast<char>(channels >> 8);
        const int align = 3 * channels & 65535;
        bytes[32] = static_cast<char>(align & 255);
        bytes[33] = static_cast<char>(align >> 8);
        EXPECT_FALSE(TimelineFile::Media::probe(folder.write("many.wav", bytes), probing)) << channels;
    }
}

} // namespace
} // namespace vintra

#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vintra {
namespace {

/// Media made by ffmpeg, and what ffprobe says of them.
class LinuxAssetProbingTest : public testing::Test {
protected:
    URL make(const std::string& name, std::vector<std::string> options) {
        std::vector<std::string> command = {"ffmpeg", "-v", "error", "-y"};
        command.insert(command.end(), options.begin(), options.end());
        command.push_back(folder.file(name).path());
        const ProgramRun run = runProgram(command);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        return folder.file(name);
    }

    /// A movie of half-second pictures and tones; options of the encoders come last.
    URL makeMovie(const std::string& name, const std::string& rate, std::vector<std::string> more = {}) {
        std::vector<std::string> options = {"-f", "lavfi", "-i", "testsrc2=s=320x180:d=1:r=" + rate,
                                            "-f", "lavfi", "-i", "sine=d=1.25:r=48000"};
        if (more.empty()) more = {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"};
        options.insert(options.end(), more.begin(), more.end());
        return make(name, options);
    }

    URL makeWave(const std::string& name, int channels, const std::string& codec = "pcm_s24le") {
        return make(name, {"-f", "lavfi", "-i", "sine=d=1.2345:r=48000", "-ac", std::to_string(channels),
                           "-c:a", codec});
    }

    /// One value of one stream as ffprobe prints it; the container's without a stream.
    static std::string ffprobe(const URL& url, const std::string& entry, const std::string& stream = "") {
        std::vector<std::string> command = {"ffprobe", "-v", "error", "-of", "csv=p=0"};
        if (!stream.empty()) command.insert(command.end(), {"-select_streams", stream});
        command.insert(command.end(), {"-show_entries", entry, url.path()});
        std::string text = runProgram(command).output;
        text.erase(std::min(text.find_last_not_of(",\n") + 1, text.size()));
        return text;
    }

    static double ffprobeSeconds(const URL& url) { return std::stod(ffprobe(url, "format=duration")); }

    void cut(const URL& url, uint64_t bytes) const {
        std::filesystem::resize_file(url.path(), std::filesystem::file_size(url.path()) - bytes);
    }

    bool isReadable(const URL& url) { return probing.asset(url)->loadDuration().has_value(); }
    AVVideoTrackProperties video(const URL& url) {
        const auto tracks = probing.asset(url)->loadTracks(AVMediaType::video);
        if (!tracks || tracks->size() != 1) throw std::runtime_error("not one video track");
        return tracks->front().video.value();
    }
    std::vector<uint32_t> channels(const URL& url) {
        std::vector<uint32_t> counts;
        const auto tracks = probing.asset(url)->loadTracks(AVMediaType::audio);
        for (const AVAssetTrack& track : tracks.value())
            counts.push_back(track.formatDescriptions->front()->streamBasicDescription()->mChannelsPerFrame);
        return counts;
    }

    TemporaryFolder folder;
    LinuxAssetProbing probing;
};

TEST_F(LinuxAssetProbingTest, aMoviesTracksAreReadExactly) {
    const URL url = makeMovie("a.mov", "30000/1001");
    const AVVideoTrackProperties track = video(url);
    EXPECT_EQ(track.naturalSize, (CGSize{320, 180}));
    EXPECT_DOUBLE_EQ(track.nominalFrameRate, 30000.0 / 1001);
    EXPECT_EQ(track.minFrameDuration, CMTimeMake(1001, 30'000));
    EXPECT_EQ(track.timeRange.start, kCMTimeZero);
    EXPECT_EQ(track.timeRange.duration, CMTimeMake(30 * 1001, 30'000)); // 30 frames begin in one second
    EXPECT_EQ(channels(url), std::vector<uint32_t>{1});
    EXPECT_NEAR(CMTimeGetSeconds(*probing.asset(url)->loadDuration()), ffprobeSeconds(url), 0.0005);
    EXPECT_EQ(*probing.asset(url)->loadDuration(), CMTimeMake(5, 4)); // the sound ends last
}

TEST_F(LinuxAssetProbingTest, everyRateIsExact) {
    for (const std::string rate : {"24000/1001", "24", "25", "30", "50", "60000/1001", "60"}) {
        const URL url = makeMovie("rate.mov", rate);
        EXPECT_EQ(ffprobe(url, "stream=avg_frame_rate", "v:0"),
                  rate.find('/') == std::string::npos ? rate + "/1" : rate);
        const size_t slash = rate.find('/');
        const double expected =
            std::stod(rate) / (slash == std::string::npos ? 1 : std::stod(rate.substr(slash + 1)));
        EXPECT_DOUBLE_EQ(video(url).nominalFrameRate, expected) << rate;
        EXPECT_NEAR(CMTimeGetSeconds(video(url).minFrameDuration), 1 / expected, 1e-9) << rate;
    }
}

TEST_F(LinuxAssetProbingTest, aTrackThatBeginsLateEndsLate) {
    const URL url =
        makeMovie("late.mov", "30",
                  {"-filter:v", "setpts=PTS+0.5/TB", "-c:v", "libx264", "-preset", "ultrafast", "-an"});
    EXPECT_EQ(video(url).timeRange.start, CMTimeMake(1, 2));
    EXPECT_EQ(video(url).timeRange.end(), CMTimeMake(3, 2));
    EXPECT_EQ(*probing.asset(url)->loadDuration(), CMTimeMake(3, 2));
    EXPECT_DOUBLE_EQ(ffprobeSeconds(url), 1.5);
}

TEST_F(LinuxAssetProbingTest, reorderedFramesBeginAtZero) {
    const URL url = makeMovie("b.mov", "30", {"-c:v", "libx264", "-bf", "2", "-an"});
    EXPECT_EQ(video(url).timeRange.start, kCMTimeZero);
    EXPECT_EQ(video(url).timeRange.end(), CMTimeMake(1, 1));
    EXPECT_EQ(video(url).minFrameDuration, CMTimeMake(1, 30));
}

TEST_F(LinuxAssetProbingTest, aVariableRateShowsItsShortestFrame) {
    // Every second frame of 60 is dropped in the second half.
    const URL url = makeMovie("vfr.mov", "60",
                              {"-vf", "select='lt(n,30)+mod(n,2)'", "-vsync", "vfr", "-c:v", "libx264",
                               "-preset", "ultrafast", "-an"});
    EXPECT_EQ(video(url).minFrameDuration, CMTimeMake(1, 60));
    EXPECT_LT(video(url).nominalFrameRate, 55);
}

TEST_F(LinuxAssetProbingTest, aFragmentedMovieIsReadToItsEnd) {
    const URL url = makeMovie("fragmented.mov", "30",
                              {"-c:v", "libx264", "-preset", "ultrafast", "-bf", "0", "-c:a", "aac",
                               "-movflags", "frag_keyframe+empty_moov"});
    EXPECT_NEAR(CMTimeGetSeconds(*probing.asset(url)->loadDuration()), ffprobeSeconds(url), 0.05);
    EXPECT_EQ(video(url).minFrameDuration, CMTimeMake(1, 30));
}

TEST_F(LinuxAssetProbingTest, everySoundTrackOfAMovieCounts) {
    const URL url =
        make("sounds.mov", {"-f", "lavfi", "-i", "sine=d=1", "-f", "lavfi", "-i", "anullsrc=cl=stereo:d=1",
                            "-map", "0", "-map", "1", "-map", "0", "-c:a", "pcm_s16le"});
    EXPECT_EQ(channels(url), (std::vector<uint32_t>{1, 2, 1}));
    EXPECT_TRUE(probing.asset(url)->loadTracks(AVMediaType::video)->empty());
}

TEST_F(LinuxAssetProbingTest, pixelsThatAreNoSquaresStretchTheWidth) {
    const URL url =
        makeMovie("wide.mov", "30", {"-vf", "setsar=4/3", "-c:v", "libx264", "-preset", "ultrafast", "-an"});
    EXPECT_NEAR(video(url).naturalSize.width, 320 * 4.0 / 3, 0.5);
    EXPECT_EQ(video(url).naturalSize.height, 180);
}

TEST_F(LinuxAssetProbingTest, aWaveFileIsExactToTheSample) {
    for (const int count : {1, 2, 6}) {
        const URL url = makeWave("w.wav", count);
        EXPECT_EQ(*probing.asset(url)->loadDuration(), CMTimeMake(59'256, 48'000)); // 1.2345 s
        EXPECT_EQ(ffprobe(url, "stream=duration_ts", "a:0"), "59256");
        EXPECT_EQ(channels(url), std::vector<uint32_t>{static_cast<uint32_t>(count)});
    }
}

TEST_F(LinuxAssetProbingTest, aFileThatIsCutShortFails) {
    for (const uint64_t bytes : {1u, 3u, 1000u, 100'000u}) {
        const URL wave = makeWave("cut.wav", 1);
        ASSERT_TRUE(isReadable(wave));
        cut(wave, bytes);
        EXPECT_FALSE(isReadable(wave)) << bytes;
        EXPECT_FALSE(probing.asset(wave)->loadTracks(AVMediaType::audio));
    }
    const URL indexLast = makeMovie("last.mov", "30");
    cut(indexLast, 5000);
    EXPECT_FALSE(isReadable(indexLast));
    const URL indexFirst =
        makeMovie("first.mov", "30",
                  {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac", "-movflags", "+faststart"});
    ASSERT_TRUE(isReadable(indexFirst));
    cut(indexFirst, 10);
    EXPECT_FALSE(isReadable(indexFirst));
}

TEST_F(LinuxAssetProbingTest, aWaveFileWhoseHeaderWasNeverCompletedFails) {
    const URL url = makeWave("open.wav", 1);
    std::string bytes = folder.read("open.wav");
    const size_t data = bytes.find("data");
    for (const unsigned char size : {0x00, 0xFF}) {
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(data) + 4, 4, static_cast<char>(size));
        folder.write("open.wav", bytes);
        EXPECT_FALSE(isReadable(url)) << int{size};
    }
}

TEST_F(LinuxAssetProbingTest, whatIsNoMediaFileFails) {
    EXPECT_FALSE(isReadable(folder.file("missing.mov")));
    EXPECT_FALSE(isReadable(folder.write("empty.mov", "")));
    EXPECT_FALSE(isReadable(folder.write("text.wav", "Dear diary, this is no sound.\n")));
    EXPECT_FALSE(isReadable(folder.write("noise.mov", std::string(100'000, '\xAB'))));
    EXPECT_FALSE(isReadable(folder.write("list.mov", "#EXTM3U\n#EXTINF:1,\n/etc/passwd\n")));
    EXPECT_FALSE(isReadable(folder.url()));
    EXPECT_FALSE(
        isReadable(make("picture.png", {"-f", "lavfi", "-i", "testsrc2=s=32x32", "-frames:v", "1"})));
    ASSERT_EQ(mkfifo(folder.file("pipe.wav").path().c_str(), 0600), 0);
    EXPECT_FALSE(isReadable(folder.file("pipe.wav"))); // and does not wait for a writer
}

TEST_F(LinuxAssetProbingTest, aNameThatLooksLikeAProtocolIsAFile) {
    const URL url = makeWave("plain.wav", 1);
    const URL odd = folder.file("concat:a|b%d #1.wav");
    std::filesystem::rename(url.path(), odd.path());
    EXPECT_TRUE(isReadable(odd));
}

TEST_F(LinuxAssetProbingTest, aLinkIsFollowed) {
    const URL url = makeWave("real.wav", 1);
    std::filesystem::create_symlink(url.path(), folder.file("link.wav").path());
    EXPECT_TRUE(isReadable(folder.file("link.wav")));
}

} // namespace
} // namespace vintra

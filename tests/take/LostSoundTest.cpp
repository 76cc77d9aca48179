// Sound that is lost on its way, in whole takes: what remains is at its place, and what is lost is told.

#include "tests/take/RecorderFixture.h"

#include "Vintra/take/WavFile.h"

#include <cmath>
#include <cstdlib>
#include <random>
#include <set>

namespace vintra {
namespace {

constexpr int64_t kNumbers = 4'000'000; ///< until the numbers of the frames begin anew

/// Devices whose every frame says at which frame of the host clock it was heard.
class LostSoundTest : public RecorderFixture {
protected:
    static int64_t hostFrame(CMTime at) { return std::llround(CMTimeGetSeconds(at - kCMTimeZero) * 48'000); }
    void number(const std::string& uid) {
        machine.audioHardware->device(uid)->signal = [](uint32_t, int64_t, CMTime at) {
            return static_cast<float>(hostFrame(at) % kNumbers + 1) / 8'388'608;
        };
    }
    /// While this holds, what the device hears is lost.
    void lose(const std::string& uid, std::function<bool(CMTime at)> isLost) {
        machine.audioHardware->device(uid)->alter = [isLost = std::move(isLost)](CMSampleBuffer buffer) {
            return isLost(buffer.presentationTimeStamp()) ? std::nullopt : std::optional(std::move(buffer));
        };
    }
    std::vector<int32_t> samplesIn(const std::string& name) const {
        const auto header = readWavHeader(*machine.fileManager, URL::fileURL(path(name)));
        EXPECT_TRUE(header.has_value()) << name;
        if (!header) return {};
        const std::string bytes = *machine.fileManager->contents(path(name));
        std::vector<int32_t> samples;
        const auto end = static_cast<size_t>(header->dataStart + header->declaredDataSize);
        for (size_t at = static_cast<size_t>(header->dataStart); at + 3 <= end; at += 3) {
            const auto* const raw = reinterpret_cast<const uint8_t*>(bytes.data()) + at;
            const auto value = static_cast<uint32_t>(raw[0] << 8 | raw[1] << 16 | raw[2] << 24);
            samples.push_back(static_cast<int32_t>(value) >> 8);
        }
        return samples;
    }
    struct Found {
        int64_t frames = 0;
        int64_t silent = 0;    ///< behind the warm-up
        int64_t displaced = 0; ///< not at the place of their time, to the frame
    };
    /// A device's frames fall between those of the take, all of them by the same fraction: a place of the whole
    /// file may be either of its two neighbours.
    Found look(const std::string& name) const {
        const auto samples = samplesIn(name);
        const int64_t zero = hostFrame(*recorder->recordingCommonStartTime);
        Found found{.frames = static_cast<int64_t>(samples.size())};
        std::map<int64_t, int64_t> offsets;
        for (size_t frame = 0; frame < samples.size(); ++frame) {
            if (samples[frame] == 0) {
                found.silent += frame >= 15'000;
                continue;
            }
            const int64_t expected = (zero + static_cast<int64_t>(frame)) % kNumbers + 1;
            const int64_t offset = samples[frame] - expected;
            if (std::abs(offset) > 1) ++found.displaced;
            ++offsets[offset];
        }
        if (offsets.size() > 2) found.displaced += 1;
        return found;
    }
    CMTime after(double seconds) const {
        return *recorder->recordingCommonStartTime + CMTimeMakeWithSeconds(seconds, kHostTimescale);
    }
    double seconds(CMTime at) const { return CMTimeGetSeconds(at - *recorder->recordingCommonStartTime); }
};

TEST_F(LostSoundTest, aMicrophoneThatFreezesForThreeSecondsIsInStepAfterwards) {
    number("mic.one");
    selectMic();
    start();
    lose("mic.one", [this](CMTime at) { return seconds(at) >= 2 && seconds(at) < 5; });
    machine.run(8);
    const CMTime pressed = machine.now();
    stop();
    EXPECT_EQ(lastError(), "The microphone lost 3.0 seconds of sound in one place; silence was put there so "
                           "the rest stays in step.");
    const Found found = look("take_mic.wav");
    EXPECT_EQ(found.displaced, 0);
    EXPECT_NEAR(static_cast<double>(found.silent), 3 * 48'000, 512);
    EXPECT_EQ(found.frames, std::llround(seconds(pressed) * 48'000));
    const auto lines = machine.log->texts("audio-health");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].starts_with("microphone: 3.0")) << lines[0];
    EXPECT_NE(lines[0].find("s lost at "), std::string::npos) << lines[0];
}

TEST_F(LostSoundTest, aWriterThatStandsStillCostsSoundAndNotItsPlace) {
    machine.assetWriters->script = [](const URL& url, AVFileType) {
        SimulatedWriterScript script;
        if (url.path().ends_with(".wav")) script.isStalled = [](double at) { return at >= 1 && at < 1.5; };
        return script;
    };
    number("mic.one");
    selectMic();
    recordFor(3);
    EXPECT_NE(lastError().find("audio buffers were dropped because a writer couldn't keep up"),
              std::string::npos);
    EXPECT_NE(lastError().find("The microphone lost 501 ms of sound in one place;"), std::string::npos)
        << lastError();
    const Found found = look("take_mic.wav");
    EXPECT_EQ(found.displaced, 0);
    EXPECT_NEAR(static_cast<double>(found.silent), 24'000, 600);
}

TEST_F(LostSoundTest, refusedRealTimeRightsAreToldWhereSoundWasLost) {
    number("mic.one");
    selectMic();
    machine.captureDevices->hasNoRealTime = true;
    recordFor(1);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << "as long as nothing is lost";
    machine.fileManager->removeItem(URL::fileURL(path("take_mic.wav")));
    machine.fileManager->removeItem(URL::fileURL(path("take_video.mov")));
    start();
    lose("mic.one", [this](CMTime at) { return seconds(at) >= 1 && seconds(at) < 1.5; });
    machine.run(2);
    stop();
    EXPECT_NE(lastError().find(" The system refused to run sound with real-time priority, so a busy machine "
                               "loses some."),
              std::string::npos)
        << lastError();
}

TEST_F(LostSoundTest, aDeviceThatIsPluggedInAgainGoesOnInItsTrack) {
    number("mic.one");
    selectMic();
    start();
    machine.run(2);
    const auto device = machine.audioHardware->device("mic.one");
    machine.audioHardware->unplug("mic.one");
    machine.run(3);
    machine.audioHardware->plugAgain(device);
    machine.run(3);
    stop();
    const Found found = look("take_mic.wav");
    EXPECT_EQ(found.displaced, 0);
    EXPECT_GT(found.silent, 3 * 48'000 - 1'024);
    EXPECT_LT(found.silent, 3.2 * 48'000);
    EXPECT_TRUE(lastError().starts_with("The microphone lost 3.")) << lastError();
}

TEST_F(LostSoundTest, aDeviceThatNeverComesBackIsFilledToTheEnd) {
    number("mic.one");
    selectMic();
    start();
    machine.run(2);
    machine.audioHardware->unplug("mic.one");
    machine.run(3);
    const CMTime pressed = machine.now();
    stop();
    EXPECT_EQ(look("take_mic.wav").frames, std::llround(seconds(pressed) * 48'000));
    EXPECT_TRUE(lastError().starts_with("Recording stopped early on: microphone (3s short).")) << lastError();
    EXPECT_EQ(lastError().find("lost"), std::string::npos) << "it is told once";
}

TEST_F(LostSoundTest, anEndThatIsMissingIsTold) {
    number("mic.one");
    selectMic();
    start();
    machine.run(2);
    lose("mic.one", [](CMTime) { return true; });
    machine.run(0.6);
    stop();
    EXPECT_TRUE(lastError().starts_with("The microphone lost 6") ||
                lastError().starts_with("The microphone lost 59"))
        << lastError();
    EXPECT_EQ(look("take_mic.wav").displaced, 0);
}

/// Takes of three devices with losses in the devices and at the writers.
TEST_F(LostSoundTest, randomTakesKeepEveryFrameAtItsPlace) {
    const char* const wanted = std::getenv("VINTRA_RANDOM_TAKES");
    const int count = wanted ? std::atoi(wanted) : 20;
    recorder->screenEnabled.set(false);
    for (const char* uid : {"mic.one", "daw.two", "multi.eight"})
        number(uid);
    machine.audioHardware->device("multi.eight")->framesPerBuffer = 441;
    selectMic();
    addExtraInput("daw.two", 1, "second");
    addExtraInput("multi.eight", 5, "box");
    for (unsigned seed = 1; seed <= static_cast<unsigned>(count); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto chance = [&random](double of) {
            return std::uniform_real_distribution<double>(0, 1)(random) < of;
        };
        for (const char* uid : {"mic.one", "daw.two", "multi.eight"}) {
            const double often = 0.002 * static_cast<double>(seed % 5);
            lose(uid, [chance, often, left = 0](CMTime) mutable {
                if (left > 0) return --left >= 0;
                if (chance(often)) left = chance(0.2) ? 60 : 3;
                return left > 0;
            });
        }
        machine.assetWriters->script = [&chance](const URL&, AVFileType) {
            SimulatedWriterScript script;
            if (chance(0.5)) script.refuses = [chance](const CMSampleBuffer&) { return chance(0.01); };
            if (chance(0.3)) script.isStalled = [](double at) { return at > 0.8 && at < 1; };
            return script;
        };
        const URL url = URL::fileURL(path("take" + std::to_string(seed) + "_video.mov"));
        machine.complete(recorder->startRecording(url));
        machine.run(2 + 0.001 * static_cast<double>(seed));
        const CMTime pressed = machine.now();
        stop();
        for (const char* track : {"_mic.wav", "_second.wav", "_box.wav"}) {
            const std::string name = "take" + std::to_string(seed) + track;
            const Found found = look(name);
            EXPECT_EQ(found.displaced, 0) << name;
            EXPECT_EQ(found.frames, std::llround(seconds(pressed) * 48'000)) << name;
            if (found.silent > 480) {
                EXPECT_NE(lastError().find("of sound in"), std::string::npos) << name;
            }
        }
        if (HasFailure()) return;
    }
}

} // namespace
} // namespace vintra

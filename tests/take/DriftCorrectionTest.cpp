// Devices whose clocks don't run by the host's, in takes that are long enough for it to matter.

#include "Vintra/take/DriftCorrection.h"

#include "Vintra/audio/ExtraInputTrack.h"
#include "Vintra/take/WavFile.h"
#include "tests/SoundBuffers.h"
#include "tests/take/RecorderFixture.h"

#include <cmath>
#include <map>
#include <numbers>

namespace vintra {
namespace {

/// Takes everything and keeps nothing.
class CountingInput : public AVAssetWriterInput {
public:
    AVMediaType mediaType() const override { return AVMediaType::audio; }
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return true; }
    bool isReadyForMoreMediaData() const override { return true; }
    bool append(const CMSampleBuffer& sample) override {
        frames += sample.numSamples();
        return true;
    }
    void extendLast(CMTime) override {}
    void markAsFinished() override {}
    int64_t frames = 0;

private:
    AVOutputSettings settings;
};

constexpr CMTime kTakeStart{123'456'789'012, kHostTimescale, kCMTimeFlags_Valid};

/// A device whose clock is off, for as long as a film.
struct LongTake {
    explicit LongTake(double ppm)
        : ratio(1 + ppm * 1e-6) {
        track.input = file;
        track.commonStart = kTakeStart;
    }
    /// Host time of a frame of the device.
    CMTime timeOf(int64_t frame) const {
        return kTakeStart +
               CMTimeMakeWithSeconds(0.004 + static_cast<double>(frame) / 48'000 / ratio, kHostTimescale);
    }
    void run(double seconds) {
        constexpr int64_t buffer = 4096;
        const CMSampleBuffer sound = tests::floatBuffer(std::vector<float>(buffer, 0.5f));
        while (CMTimeGetSeconds(timeOf(next) - kTakeStart) < seconds) {
            CMSampleTimingInfo timing = sound.timing();
            timing.presentationTimeStamp = timeOf(next);
            track.append(*CMSampleBufferCreateCopyWithNewTiming(sound, timing));
            next += buffer;
        }
    }
    double ratio;
    int64_t next = 0;
    std::shared_ptr<CountingInput> file = std::make_shared<CountingInput>();
    ExtraInputTrack track;
};

TEST(DriftCorrectionTest, twoHoursOnThreeDevicesEndWithinAMillisecond) {
    for (const double ppm : {-100.0, 100.0, 37.0}) {
        LongTake take(ppm);
        take.run(7'200);
        const CMTime end = kTakeStart + CMTimeMake(7'200, 1);
        const auto retiming = driftCorrection(take.track, end, 30);
        ASSERT_TRUE(retiming) << ppm;
        ASSERT_EQ(retiming->runs.size(), 1u) << ppm;
        EXPECT_EQ(retiming->frames, 7'200 * 48'000);
        const WavRetiming::Run& run = retiming->runs[0];
        // The last frame the device made, and when it was heard.
        const double last =
            static_cast<double>(run.target) + static_cast<double>(run.frames) * retiming->stretch;
        EXPECT_NEAR(last / 48'000, CMTimeGetSeconds(take.timeOf(take.next) - kTakeStart), 0.0001) << ppm;
        take.track.close(end);
        EXPECT_NEAR(take.track.account.read().drift->partsPerMillion, ppm, 0.01);
        EXPECT_NEAR(take.track.account.read().drift->secondsAtEnd, 7'200 * ppm * 1e-6, 0.001);
        EXPECT_TRUE(take.track.account.read().losses.empty());
    }
}

TEST(DriftCorrectionTest, aTakeOfOrdinaryLengthIsNotTouched) {
    LongTake take(100);
    take.run(160); // 16 ms; half a frame is 16.7
    EXPECT_FALSE(driftCorrection(take.track, kTakeStart + CMTimeMake(160, 1), 30));
    EXPECT_TRUE(driftCorrection(take.track, kTakeStart + CMTimeMake(160, 1), 60));
    LongTake exact(0);
    exact.run(3'600);
    EXPECT_FALSE(driftCorrection(exact.track, kTakeStart + CMTimeMake(3'600, 1), 60));
}

/// Takes on the simulated machine, with devices that click at known host times.
class DriftingTakeTest : public RecorderFixture {
protected:
    /// Clicks once in two seconds of the host clock, each a bell a millisecond wide.
    void click(const std::string& uid) {
        machine.audioHardware->device(uid)->signal = [](uint32_t, int64_t, CMTime at) {
            const double since = std::fmod(CMTimeGetSeconds(at), 2) - 1;
            return static_cast<float>(0.5 * std::exp(-0.5 * std::pow(since / 0.0005, 2)));
        };
    }
    /// Seconds by which each click of the file is away from its host time, by its number.
    std::map<int64_t, double> errors(const std::string& name) const {
        const auto header = readWavHeader(*machine.fileManager, URL::fileURL(path(name)));
        const std::string bytes = *machine.fileManager->contents(path(name));
        const double zero = CMTimeGetSeconds(*recorder->recordingCommonStartTime);
        std::map<int64_t, std::pair<double, double>> moments;
        for (uint64_t at = header->dataStart; at + 3 <= header->dataStart + header->declaredDataSize;
             at += 3) {
            const auto* const raw = reinterpret_cast<const uint8_t*>(bytes.data()) + at;
            const int32_t value =
                static_cast<int32_t>(static_cast<uint32_t>(raw[0] << 8 | raw[1] << 16 | raw[2] << 24)) >> 8;
            if (value < 50'000) continue;
            const double time = zero + static_cast<double>((at - header->dataStart) / 3) / 48'000;
            auto& [weight, sum] = moments[static_cast<int64_t>(time / 2)];
            weight += value;
            sum += value * (std::fmod(time, 2) - 1);
        }
        std::map<int64_t, double> result;
        for (const auto& [number, moment] : moments)
            result[number] = moment.second / moment.first;
        return result;
    }
    void prepareTake() {
        for (const char* uid : {"mic.one", "multi.eight"})
            click(uid);
        machine.audioHardware->device("mic.one")->clockRatio = 1 + 400e-6;
        machine.audioHardware->device("multi.eight")->clockRatio = 1 - 400e-6;
        recorder->screenFrameRate.set(60);
        selectMic();
        addExtraInput("multi.eight", 1, "box");
    }
};

TEST_F(DriftingTakeTest, theSoundOfALongTakeIsBroughtToTheHostClock) {
    prepareTake();
    start();
    machine.run(25); // 10 ms of drift; half a frame is 8.3
    const CMTime pressed = machine.now();
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    for (const char* name : {"take_mic.wav", "take_box.wav"}) {
        const auto found = errors(name);
        EXPECT_GE(found.size(), 12u) << name;
        for (const auto& [number, error] : found)
            EXPECT_NEAR(error, 0, 2.0 / 48'000) << name << " at click " << number;
        const auto header = readWavHeader(*machine.fileManager, URL::fileURL(path(name)));
        EXPECT_EQ(header->declaredDataSize / 3,
                  static_cast<uint64_t>(std::llround(
                      CMTimeGetSeconds(pressed - *recorder->recordingCommonStartTime) * 48'000)));
    }
    const auto lines = machine.log->texts("audio-health");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "microphone: drifted 400 ppm, 10 ms over 0:00:25, corrected");
    EXPECT_EQ(files().size(), 3u) << "nothing is left beside the files";
}

TEST_F(DriftingTakeTest, gapsKeepTheirLengthsInACorrectedFile) {
    prepareTake();
    start();
    machine.run(12);
    machine.audioHardware->device("mic.one")->isSilent = true;
    machine.run(7.3);
    machine.audioHardware->device("mic.one")->isSilent = false;
    machine.run(15);
    stop();
    const auto found = errors("take_mic.wav");
    EXPECT_GE(found.size(), 9u);
    for (const auto& [number, error] : found)
        EXPECT_NEAR(error, 0, 3.0 / 48'000) << "click " << number;
}

TEST_F(DriftingTakeTest, aKeyTurnsItOff) {
    machine.userDefaults->values[kCorrectsSoundDriftKey] = false;
    prepareTake();
    recordFor(25);
    const auto found = errors("take_mic.wav");
    ASSERT_FALSE(found.empty());
    EXPECT_NEAR(found.rbegin()->second, 0.0095, 0.001) << "as the device made it";
}

TEST_F(DriftingTakeTest, aCorrectionThatFailsLeavesThePaddedFile) {
    prepareTake();
    start();
    machine.run(25);
    machine.fileManager->disk->fails = [failed = 0](SimulatedFileOperation operation,
                                                    const std::string& at) mutable {
        return operation == SimulatedFileOperation::replaceItem && at.find("mic") != std::string::npos &&
               failed++ == 0;
    };
    stop();
    const auto found = errors("take_mic.wav");
    ASSERT_FALSE(found.empty());
    EXPECT_NEAR(found.rbegin()->second, 0.0095, 0.001);
    EXPECT_EQ(files().size(), 3u);
}

} // namespace
} // namespace vintra

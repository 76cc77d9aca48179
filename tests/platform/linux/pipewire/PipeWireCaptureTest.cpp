#include "tests/platform/linux/pipewire/CapturedSound.h"
#include "tests/support/PublishedMicrophone.h"
#include "tests/support/SoundServerWatch.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/testsignals/TestSignal.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace vintra {
namespace {

using Arrivals = std::vector<SoundSampleCollector::Arrival>;

const float* samples(const CMSampleBuffer& sample) {
    return reinterpret_cast<const float*>(sample.dataBuffer()->contiguousBytes());
}

/// The number that the counter gave the buffer's first frame; nothing if any sample of the buffer isn't the
/// counter's, channel for channel and frame after frame.
std::optional<uint64_t> firstCount(const CMSampleBuffer& sample, uint32_t channels) {
    const float* values = samples(sample);
    const auto first = static_cast<uint64_t>(std::llround(double{values[0]} * 16777216.0)) & 0xFFFF;
    for (int64_t frame = 0; frame < sample.numSamples(); ++frame) {
        for (uint32_t channel = 0; channel < channels; ++channel) {
            if (values[frame * channels + channel] !=
                counterSample(first + static_cast<uint64_t>(frame), channel)) {
                return std::nullopt;
            }
        }
    }
    return first;
}

/// The most buffers in a row that are the counter's to the bit, each going on where the one before ended both
/// in frames and, to two ticks, in time. A busy machine may lose a cycle in between.
/// Only the latest 32 buffers are looked at.
size_t longestExactRun(const Arrivals& all, uint32_t channels) {
    const Arrivals arrivals(all.end() - static_cast<ptrdiff_t>(std::min<size_t>(all.size(), 32)), all.end());
    const CMTime tolerance = CMTimeMake(2, kHostTimescale);
    size_t longest = 0;
    size_t run = 0;
    std::optional<uint64_t> nextCount;
    CMTime nextStamp = kCMTimeInvalid;
    for (const auto& [sample, output, time, onQueue] : arrivals) {
        const auto count = firstCount(sample, channels);
        const CMTime stamp = sample.presentationTimeStamp();
        const bool goesOn =
            count && count == nextCount && stamp >= nextStamp - tolerance && stamp <= nextStamp + tolerance;
        run = goesOn ? run + 1 : (count ? 1 : 0);
        longest = std::max(longest, run);
        nextStamp = stamp + sample.duration();
        nextCount = count ? std::optional((*count + static_cast<uint64_t>(sample.numSamples())) & 0xFFFF)
                          : std::nullopt;
    }
    return longest;
}

class ChannelCount : public ::testing::TestWithParam<uint32_t> {};

TEST_P(ChannelCount, everySampleOfEveryChannelArrivesUnchangedAndOnTime) {
    const uint32_t channels = GetParam();
    const std::string name = "capture-test-" + std::to_string(channels);
    const PublishedMicrophone microphone(name,
                                         {"--signal", "counter", "--channels", std::to_string(channels)});
    ASSERT_TRUE(microphone.isPublished());
    CapturedSound sound(std::make_shared<PipeWireConnection>(), name, channels);
    ASSERT_TRUE(sound.start());
    EXPECT_TRUE(sound.waitUntil([&] { return longestExactRun(sound.arrivals(), channels) >= 20; }));
}

INSTANTIATE_TEST_SUITE_P(PipeWireCapture, ChannelCount, ::testing::Values(1, 2, 4, 8, 32));

TEST(PipeWireCapture, fewerChannelsThanTheDeviceHasAreItsFirstOnes) {
    const PublishedMicrophone microphone("capture-test-first", {"--signal", "counter", "--channels", "4"});
    CapturedSound sound(std::make_shared<PipeWireConnection>(), "capture-test-first", 2);
    ASSERT_TRUE(sound.start());
    EXPECT_TRUE(sound.waitUntil([&] { return longestExactRun(sound.arrivals(), 2) >= 10; }));
}

TEST(PipeWireCapture, aDeviceOfTooManyChannelsSaysSo) {
    const PublishedMicrophone microphone("capture-test-wide", {"--channels", "100"});
    ASSERT_TRUE(microphone.isPublished());
    PipeWireCaptureDevices devices(std::make_shared<PipeWireConnection>(), std::make_shared<LinuxEventLoop>(),
                                   std::make_shared<LinuxLog>(LogLevel::error));
    const auto device = devices.deviceWithUniqueID("capture-test-wide");
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(
        device->captureProblem(),
        "has 100 channels, and PipeWire passes on 64 of a device at most. Choose a profile of it with fewer "
        "channels in the sound settings");
    const auto session = devices.makeSession();
    session->addInput(devices.makeDeviceInput(device));
    EXPECT_FALSE(session->canAddOutput(*devices.makeAudioDataOutput({.numberOfChannels = 100})));
    const PublishedMicrophone narrow("capture-test-narrow");
    ASSERT_TRUE(narrow.isPublished());
    PipeWireCaptureDevices others(std::make_shared<PipeWireConnection>(), std::make_shared<LinuxEventLoop>(),
                                  std::make_shared<LinuxLog>(LogLevel::error));
    EXPECT_EQ(others.deviceWithUniqueID("capture-test-narrow")->captureProblem(), std::nullopt);
}

TEST(PipeWireCapture, twoSessionsHearOneDevice) {
    const PublishedMicrophone microphone("capture-test-shared", {"--signal", "counter"});
    const auto connection = std::make_shared<PipeWireConnection>();
    CapturedSound first(connection, "capture-test-shared", 1);
    CapturedSound second(connection, "capture-test-shared", 1);
    ASSERT_TRUE(first.start());
    ASSERT_TRUE(second.start());
    EXPECT_TRUE(second.waitUntil([&] {
        return longestExactRun(first.arrivals(), 1) >= 10 && longestExactRun(second.arrivals(), 1) >= 10;
    }));
}

TEST(PipeWireCapture, aDeviceAtAnotherRateIsDeliveredAtTheRateAskedFor) {
    const PublishedMicrophone microphone("capture-test-44100",
                                         {"--rate", "44100", "--frequency", "1000", "--level", "-6"});
    CapturedSound sound(std::make_shared<PipeWireConnection>(), "capture-test-44100", 1);
    ASSERT_TRUE(sound.start());
    ASSERT_TRUE(sound.waitUntil([&] { return sound.arrivals().size() >= 60; }));
    sound.stop();
    // Some buffers in, past the resampler's beginning: 1000 rising zero crossings a second of 48,000 frames.
    std::vector<float> values;
    const Arrivals arrivals = sound.arrivals();
    for (size_t index = 20; index < arrivals.size(); ++index) {
        const CMSampleBuffer& sample = arrivals[index].sample;
        values.insert(values.end(), samples(sample), samples(sample) + sample.numSamples());
    }
    size_t crossings = 0;
    for (size_t index = 1; index < values.size(); ++index) {
        if (values[index - 1] < 0 && values[index] >= 0) ++crossings;
    }
    const double frequency = static_cast<double>(crossings) * 48'000 / static_cast<double>(values.size());
    EXPECT_NEAR(frequency, 1000, 15);
    // -6 dB of full scale is 0.501.
    EXPECT_NEAR(*std::max_element(values.begin(), values.end()), 0.501, 0.02);
}

TEST(PipeWireCapture, integersAreDeliveredWhereTheyAreAskedFor) {
    const PublishedMicrophone microphone("capture-test-integers", {"--level", "-6"});
    CapturedSound sound(std::make_shared<PipeWireConnection>(), "capture-test-integers", 1,
                        {.linearPCMBitDepth = 16});
    ASSERT_TRUE(sound.start());
    const auto loudest = [&] {
        int16_t peak = 0;
        for (const auto& arrival : sound.arrivals()) {
            const auto* values =
                reinterpret_cast<const int16_t*>(arrival.sample.dataBuffer()->contiguousBytes());
            for (int64_t frame = 0; frame < arrival.sample.numSamples(); ++frame) {
                peak = std::max(peak, values[frame]);
            }
        }
        return peak;
    };
    // 0.501 of 32,768 is 16,423.
    EXPECT_TRUE(sound.waitUntil([&] { return loudest() > 16'300; }));
    EXPECT_LT(loudest(), 16'500);
    const auto format = sound.arrivals().front().sample.formatDescription();
    EXPECT_EQ(format->streamBasicDescription()->mBitsPerChannel, 16u);
    EXPECT_FALSE(format->streamBasicDescription()->isFloat());
}

TEST(PipeWireCapture, settingsThatNoDeviceDeliversAreRefusedByTheSession) {
    PipeWireCaptureDevices devices(std::make_shared<PipeWireConnection>(), std::make_shared<LinuxEventLoop>(),
                                   std::make_shared<LinuxLog>(LogLevel::error));
    const auto session = devices.makeSession();
    EXPECT_FALSE(session->canAddOutput(*devices.makeAudioDataOutput({.linearPCMBitDepth = 12})));
    EXPECT_FALSE(session->canAddOutput(*devices.makeAudioDataOutput({.numberOfChannels = 0})));
    EXPECT_FALSE(session->canAddOutput(*devices.makeAudioDataOutput({.formatID = kAudioFormatMPEG4AAC})));
    EXPECT_FALSE(session->canAddOutput(*devices.makeAudioDataOutput(
        {.linearPCMBitDepth = 32, .linearPCMIsFloat = true, .linearPCMIsBigEndian = true})));
}

TEST(PipeWireCapture, aDeviceThatWentBeforeTheStartIsRefused) {
    PublishedMicrophone microphone("capture-test-gone");
    const auto connection = std::make_shared<PipeWireConnection>();
    CapturedSound sound(connection, "capture-test-gone", 1);
    microphone.unplug();
    ASSERT_TRUE(sound.waitUntil([&] { return !connection->devices().deviceNamed("capture-test-gone"); }));
    EXPECT_FALSE(sound.start());
}

TEST(PipeWireCapture, aDeviceThatGoesEndsItsSessionAndNoOtherTakesItsPlace) {
    auto microphone = std::make_unique<PublishedMicrophone>("capture-test-going");
    const auto connection = std::make_shared<PipeWireConnection>();
    CapturedSound sound(connection, "capture-test-going", 1);
    ASSERT_TRUE(sound.start());
    ASSERT_TRUE(sound.waitUntil([&] { return !sound.arrivals().empty(); }));
    microphone->unplug();
    ASSERT_TRUE(sound.waitUntil([&] { return !connection->devices().deviceNamed("capture-test-going"); }));
    EXPECT_TRUE(sound.waitUntil([&] { return !sound.session().isRunning(); }));
    // The same device again: a session that has ended stays so until it is started.
    microphone = std::make_unique<PublishedMicrophone>("capture-test-going");
    ASSERT_TRUE(
        sound.waitUntil([&] { return connection->devices().deviceNamed("capture-test-going").has_value(); }));
    EXPECT_FALSE(sound.session().isRunning());
    const size_t before = sound.arrivals().size();
    EXPECT_TRUE(sound.start());
    EXPECT_TRUE(sound.waitUntil([&] { return sound.arrivals().size() > before; }));
}

/// A file of five seconds: left a constant half, right a constant quarter with the sign turned.
class ConstantSoundFile {
public:
    ConstantSoundFile() {
        constexpr uint32_t frames = 5 * 48'000;
        std::ofstream file(path, std::ios::binary);
        const auto number = [&file](uint32_t value, std::streamsize bytes) {
            file.write(reinterpret_cast<const char*>(&value), bytes);
        };
        file << "RIFF";
        number(36 + frames * 8, 4);
        file << "WAVEfmt ";
        number(16, 4);
        number(3, 2); // float
        number(2, 2);
        number(48'000, 4);
        number(48'000 * 8, 4);
        number(8, 2);
        number(32, 2);
        file << "data";
        number(frames * 8, 4);
        const float frame[] = {0.5F, -0.25F};
        for (uint32_t index = 0; index < frames; ++index) {
            file.write(reinterpret_cast<const char*>(frame), sizeof frame);
        }
    }

private:
    TemporaryFolder folder;

public:
    const std::filesystem::path path = folder.file("constant.wav").path();
};

TEST(PipeWireCapture, whatIsPlayedToTheVirtualDeviceIsRecordedFromIt) {
    const ConstantSoundFile file;
    CapturedSound sound(std::make_shared<PipeWireConnection>(), "VintraAudioDevice", 2);
    ASSERT_TRUE(sound.start());
    const ChildProcess player({"pw-cat", "-p", "--target", "VintraAudioDevice", file.path.string()});
    ASSERT_TRUE(player.hasStarted());
    const auto isHeard = [&] {
        for (const auto& arrival : sound.arrivals()) {
            const float* values = samples(arrival.sample);
            if (values[0] == 0.5F && values[1] == -0.25F) return true;
        }
        return false;
    };
    EXPECT_TRUE(sound.waitUntil(isHeard));
}

TEST(PipeWireCapture, theVirtualDeviceDeliversSilenceWhileNothingIsPlayed) {
    CapturedSound sound(std::make_shared<PipeWireConnection>(), "VintraAudioDevice", 2);
    ASSERT_TRUE(sound.start());
    ASSERT_TRUE(sound.waitUntil([&] { return sound.arrivals().size() >= 20; }));
}

/// When the sounds behind a tenth of a second of silence begin.
std::vector<CMTime> clicksIn(const std::vector<SoundSampleCollector::Arrival>& arrivals) {
    std::vector<CMTime> heard;
    int silentFrames = 48'000;
    for (const auto& arrival : arrivals) {
        const float* values = samples(arrival.sample);
        for (int64_t frame = 0; frame < arrival.sample.numSamples(); ++frame) {
            if (values[frame] == 0.0F) {
                ++silentFrames;
                continue;
            }
            if (silentFrames > 4'800)
                heard.push_back(arrival.sample.presentationTimeStamp() + CMTimeMake(frame, 48'000));
            silentFrames = 0;
        }
    }
    return heard;
}

TEST(PipeWireCapture, aClickStandsAtTheInstantAtWhichItWasMade) {
    for (int attempt = 1; attempt <= 5; ++attempt) {
        ChildProcess clicks({VINTRA_BIN_DIR "/flash-and-click", "--name", "capture-test-clicks", "--first",
                             "2", "--interval", "0.5", "--count", "3"});
        if (clicks.readLine() != "ready") GTEST_SKIP() << "no X server";
        CapturedSound sound(std::make_shared<PipeWireConnection>(), "capture-test-clicks", 1);
        ASSERT_TRUE(sound.start());
        SoundServerWatch server;
        std::vector<int64_t> instants;
        for (int click = 0; click < 3; ++click)
            instants.push_back(std::atoll(clicks.readLine().c_str()));
        const CMTime last = hostTimeFromNanoseconds(instants.back()) + CMTimeMake(1, 10);
        ASSERT_TRUE(sound.waitUntil([&] {
            const auto arrivals = sound.arrivals();
            return !arrivals.empty() && arrivals.back().sample.presentationTimeStamp() > last;
        }));
        sound.stop();
        // A cycle that the server loses takes its click along, or makes it late.
        if (!server.losses().none()) continue;
        const std::vector<CMTime> heard = clicksIn(sound.arrivals());
        ASSERT_EQ(heard.size(), instants.size());
        for (size_t click = 0; click < heard.size(); ++click) {
            const double late = CMTimeGetSeconds(heard[click] - hostTimeFromNanoseconds(instants[click]));
            RecordProperty("late" + std::to_string(click), std::to_string(late));
            EXPECT_NEAR(late, 0, 0.003);
        }
        return;
    }
    GTEST_SKIP() << "the sound server lost cycles in every attempt";
}

} // namespace
} // namespace vintra

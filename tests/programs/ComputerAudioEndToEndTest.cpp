// The computer's own sound through the program itself: what a player plays to the default output, what the
// take holds, and what is heard on the monitor.

#include "tests/programs/ComputerAudioFixture.h"
#include "tests/programs/NumberedSound.h"
#include "tests/programs/NumberedSoundAccount.h"
#include "tests/support/PrivatePipeWireServer.h"
#include "tests/support/PublishedMicrophone.h"
#include "tests/support/SoundServerWatch.h"
#include "tests/support/StallWatch.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

namespace vintra {
namespace {

using Json = nlohmann::json;

constexpr int kAttempts = 6;
/// Frames of a cycle that outlasts a virtual machine's stalls of up to 85 ms.
constexpr int64_t kLongCycle = 4096;
/// Frames of the longest cycle that the server takes by itself here.
constexpr int64_t kUsualCycle = 1024;
/// Frames: 2 ms. A time that jumps by less is no gap, and a gap's own length is known to that.
constexpr int64_t kGapTolerance = kRate / 500;

class ComputerAudioEndToEndTest : public ComputerAudioFixture {
public:
    /// What came of a sound that was played during a take.
    struct Measurement {
        SoundServerWatch::Losses server;
        int64_t knownToBeMissing = 0; ///< frames at the most, by the program's own count
        NumberedSoundAccount inTake;
        NumberedSoundAccount heard;
    };

protected:
    Measurement takeOfASound(int64_t frames, const std::string& name);
};

/// The server's cycles have that many frames while this lives; 0: as many as it likes.
class CyclesOf {
public:
    explicit CyclesOf(int64_t frames) {
        if (frames > 0) force(frames);
        isForced = frames > 0;
    }
    ~CyclesOf() {
        if (isForced) force(0);
    }
    CyclesOf(const CyclesOf&) = delete;
    CyclesOf& operator=(const CyclesOf&) = delete;

private:
    static void force(int64_t frames) {
        runProgram({"pw-metadata", "-n", "settings", "0", "clock.force-quantum", std::to_string(frames)});
    }
    bool isForced = false;
};

int64_t firstLoudFrame(const RecordedWav& wav) {
    int64_t frame = 0;
    while (frame < wav.frames() && wav.at(frame, 0) == 0)
        ++frame;
    return frame;
}

/// The frames that the program's log calls missing, each time a gap was found.
std::vector<int64_t> missingFrames(const std::string& log) {
    std::vector<int64_t> frames;
    std::istringstream lines(log);
    const std::string mark = std::string("audio-capture: ") + kVirtualDevice + ": ";
    for (std::string line; std::getline(lines, line);) {
        const size_t found = line.find(mark);
        if (found != std::string::npos) frames.push_back(std::atoll(line.c_str() + found + mark.size()));
    }
    return frames;
}

/// Plays a sound of that length while a take runs.
ComputerAudioEndToEndTest::Measurement ComputerAudioEndToEndTest::takeOfASound(int64_t frames,
                                                                               const std::string& name) {
    const URL played = NumberedSound::write(folder, name + ".played.wav", frames);
    const URL heard = folder.file(name + ".heard.raw");
    const URL log = folder.file(name + ".log");
    std::vector<std::string> command{"sh", "-c", "exec \"$@\" 2>\"$0\"", log.path()};
    const auto recorder = takeCommand({"--computer-audio", "--verbose", "--name", name});
    command.insert(command.end(), recorder.begin(), recorder.end());
    ChildProcess take(command);
    EXPECT_TRUE(awaitDefaultOutput(kVirtualDevice));
    ChildProcess listener({"pw-record", "--target", kOutput, "-P", "{ stream.capture.sink=true }", "--format",
                           "f32", heard.path()});
    EXPECT_TRUE(awaitFileOf(heard, 1));
    EXPECT_TRUE(awaitFileOf(folder.file(name + "_computer-audio.wav"), 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(500)); // the take begins with 0.3 s of silence
    Measurement measured;
    {
        SoundServerWatch server;
        EXPECT_EQ(runProgram({"pw-play", played.path()}).exitCode, 0);
        measured.server = server.losses();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(500)); // what is on its way needs a tenth of that
    take.signal(SIGINT);
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 0) << text;
    listener.signal(SIGINT);
    listener.wait();
    const Json json = Json::parse(text, nullptr, false);
    EXPECT_TRUE(json.value("status", "").starts_with("Saved")) << text;
    for (const int64_t missing : missingFrames(folder.read(name + ".log")))
        measured.knownToBeMissing += missing + kGapTolerance;
    measured.inTake = accountOf(recorded(name));
    measured.heard = accountOf(floatsOf(heard.path()));
    std::printf("%s: the server: %s\nrelay: %s\nin the take: %s\non the monitor: %s\n", name.c_str(),
                measured.server.text().c_str(), json.value("relay", "").c_str(),
                measured.inTake.text().c_str(), measured.heard.text().c_str());
    return measured;
}

/// What the program owes whatever the sound server loses: no frame is there twice, and it knows how many it wasn't
/// given. Each cycle that the server ended before all were done may have cost what the player had for it, which
/// never came near the program.
void expectHonest(const ComputerAudioEndToEndTest::Measurement& measured) {
    EXPECT_EQ(measured.inTake.repeated, 0);
    const int64_t lostByPlayer = measured.server.unfinished * kUsualCycle;
    EXPECT_LE(measured.inTake.lost, measured.knownToBeMissing + lostByPlayer)
        << "frames are lost, and the program doesn't know";
}

TEST_F(ComputerAudioEndToEndTest, whatIsPlayedIsInTheTakeToTheBitAndHeardOnTheMonitor) {
    const char* const asked = std::getenv("VINTRA_LONG_SECONDS"); // 600 outside of everyday runs
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        // A busy machine is given longer cycles, and fewer of them to lose.
        const bool isEased = attempt > 2;
        const CyclesOf cycles(asked || isEased ? kLongCycle : 0);
        int64_t frames = (asked ? std::atoll(asked) : isEased ? 5 : 20) * kRate;
        // The player leaves a part of a cycle out.
        if (asked || isEased) frames += kLongCycle - frames % kLongCycle;
        const Measurement measured = takeOfASound(frames, "sound" + std::to_string(attempt));
        expectHonest(measured);
        const NumberedSoundAccount& inTake = measured.inTake;
        const NumberedSoundAccount& heard = measured.heard;
        const bool isWhole =
            inTake.played == frames && inTake.lost + inTake.silent + inTake.altered + heard.altered == 0;
        // Two clocks cost single frames.
        const bool isHeard = heard.lost + heard.repeated <= frames / 1000 && heard.silent == inTake.silent &&
                             heard.played + heard.lost == frames;
        if (isWhole && isHeard) return;
        // A long run says what became of it on the machine as it is.
        if (!measured.server.none() && !asked) continue;
        EXPECT_EQ(inTake.altered, 0);
        EXPECT_EQ(heard.altered, 0);
        EXPECT_EQ(inTake.played, frames);
        EXPECT_EQ(inTake.lost, 0);
        EXPECT_EQ(inTake.silent, 0);
        EXPECT_EQ(heard.silent, inTake.silent) << "the relay added a gap";
        EXPECT_LE(heard.lost + heard.repeated, frames / 1000);
        EXPECT_EQ(heard.played + heard.lost, frames);
        return;
    }
    GTEST_SKIP() << "the sound server lost cycles in every attempt";
}

TEST_F(ComputerAudioEndToEndTest, anUnknownMonitorIsRefused) {
    const ProgramRun run = runProgram(takeCommand({"--computer-audio", "--monitor", "nowhere"}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.output.find("There is no sound output “nowhere” to listen on."), std::string::npos)
        << run.output;
}

TEST_F(ComputerAudioEndToEndTest, aMonitorOfAnotherRateIsFollowedAndHeard) {
    const SilentOutput monitor("vintra.test.monitor", 44'100);
    ASSERT_TRUE(monitor.awaitListed());
    const URL played = NumberedSound::write(folder, "played.wav", 2 * kRate);
    const URL heard = folder.file("heard.raw");
    ChildProcess take(takeCommand({"--computer-audio", "--monitor", "vintra.test.monitor", "--name", "far"}));
    ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice));
    ChildProcess listener({"pw-record", "--target", "vintra.test.monitor", "-P",
                           "{ stream.capture.sink=true }", "--format", "f32", heard.path()});
    ASSERT_TRUE(awaitFileOf(heard, 1));
    ASSERT_TRUE(awaitFileOf(folder.file("far_computer-audio.wav"), 1));
    // Twice: a player that begins right after the change may still be linked to the output before.
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(runProgram({"pw-play", played.path()}).exitCode, 0);
    take.signal(SIGINT);
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 0) << text;
    listener.signal(SIGINT);
    listener.wait();
    EXPECT_NE(text.find("@44.1k"), std::string::npos) << text;
    // Twice from one rate to another, so the levels are near.
    const auto loud = [](float sample) { return sample > 0.03f; };
    const auto heardFloats = floatsOf(heard.path());
    EXPECT_GT(std::count_if(heardFloats.begin(), heardFloats.end(), loud), kRate);
    const RecordedWav wav = recorded("far");
    EXPECT_EQ(wav.sampleRate(), kRate);
    int64_t frames = 0;
    for (int64_t frame = 0; frame < wav.frames(); ++frame)
        frames += wav.at(frame, 0) > 100'000;
    EXPECT_GT(frames, kRate);
}

TEST_F(ComputerAudioEndToEndTest, aMonitorAtARateThatTheVirtualDeviceHasNotIsRefusedWithTheReason) {
    const SilentOutput monitor("vintra.test.studio", 96'000);
    ASSERT_TRUE(monitor.awaitListed());
    const ProgramRun run =
        runProgram(takeCommand({"--computer-audio", "--monitor", "vintra.test.studio", "--seconds", "1"}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(
        run.errors.find("Vintra Audio is running at 48000Hz but your output device is at 96000Hz. Vintra "
                        "couldn't match the two, so computer audio is unavailable"),
        std::string::npos)
        << run.errors;
    EXPECT_NE(run.output.find("Computer audio couldn't be routed through Vintra's audio driver"),
              std::string::npos)
        << run.output;
}

TEST_F(ComputerAudioEndToEndTest, aMicrophoneMayBeTheVirtualInput) {
    const PublishedMicrophone workstation("vintra.test.workstation", {"--channels", "2"});
    ASSERT_TRUE(workstation.isPublished());
    const ProgramRun run = runProgram(
        takeCommand({"--virtual-input", "vintra.test.workstation", "--seconds", "2", "--name", "virtual"}));
    EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
    const RecordedWav wav = recorded("virtual");
    EXPECT_NEAR(static_cast<double>(wav.frames()), 2 * kRate, 0.1 * kRate);
    EXPECT_LT(firstLoudFrame(wav), kRate / 2);
    const ProgramRun unknown = runProgram(takeCommand({"--virtual-input", "nowhere"}));
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_NE(unknown.output.find("There is no sound input “nowhere”"), std::string::npos) << unknown.output;
}

TEST_F(ComputerAudioEndToEndTest, oneInputOnBothChiefTracksIsRefused) {
    const PublishedMicrophone microphone("vintra.test.both");
    ASSERT_TRUE(microphone.isPublished());
    const ProgramRun run =
        runProgram(takeCommand({"--mic", "vintra.test.both", "--virtual-input", "vintra.test.both"}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.output.find("Mic and Virtual Input are set to the same device."), std::string::npos)
        << run.output;
}

/// By how much the clock that a file's sound counts is ahead of the file, at that frame; nothing of a file
/// that lacks sound in the second before or after it, which a busy machine loses.
std::optional<int32_t> clockAt(int64_t frame, const RecordedWav& wav) {
    if (wav.frames() < frame + kRate) return std::nullopt;
    const auto ahead = [&](int64_t at) { return (wav.at(at, 0) - static_cast<int32_t>(at)) & 0x7FFFFF; };
    for (int64_t at = frame - kRate; at < frame + kRate; ++at)
        if (std::abs(ahead(at) - ahead(frame)) > 1) return std::nullopt; // the server rounds its times
    return ahead(frame);
}

/// Eight channels of a box of 32, a channel of another, a microphone and the computer.
TEST_F(ComputerAudioEndToEndTest, elevenFilesComeFromFourDevicesAlignedToTheSample) {
    const PublishedMicrophone box("vintra.test.box", {"--channels", "32", "--signal", "clock"});
    const PublishedMicrophone small("vintra.test.small", {"--channels", "4", "--signal", "clock"});
    const PublishedMicrophone microphone("vintra.test.mic", {"--signal", "clock"});
    ASSERT_TRUE(box.isPublished() && small.isPublished() && microphone.isPublished());
    std::vector<std::string> options{"--mic", "vintra.test.mic", "--computer-audio",         "--seconds",
                                     "4",     "--input",         "vintra.test.small:4:Small"};
    for (int channel = 4; channel <= 32; channel += 4) {
        options.push_back("--input");
        options.push_back("vintra.test.box:" + std::to_string(channel) + ":Box " + std::to_string(channel));
    }
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        auto command = takeCommand(options);
        command.insert(command.end(), {"--name", "eleven" + std::to_string(attempt)});
        const StallWatch stalls;
        SoundServerWatch server;
        const ProgramRun run = runProgram(command);
        ASSERT_EQ(run.exitCode, 0) << run.output << run.errors;
        const Json json = Json::parse(run.output, nullptr, false);
        ASSERT_TRUE(json.is_object()) << run.output;
        ASSERT_EQ(json["files"].size(), 11u) << json;
        const bool isServerWhole = server.losses().none();
        for (const Json& file : json["files"]) {
            if (isServerWhole) {
                EXPECT_NEAR(file.value("seconds", 0.0), 4, 0.1) << file;
            }
        }
        std::vector<int32_t> clocks;
        for (const Json& file : json["files"]) {
            const auto clock = clockAt(2 * kRate, RecordedWav(URL::fileURL(file.value("path", "")), 1));
            if (clock) clocks.push_back(*clock);
        }
        if (clocks.size() < 10 && !isServerWhole) continue;
        ASSERT_EQ(clocks.size(), 10u) << "all but the computer's, which was silent";
        const auto [least, most] = std::minmax_element(clocks.begin(), clocks.end());
        // The server's clock is a timer here. It slips with the machine, by no more than that stalls.
        const int32_t apart = *most - *least;
        if (apart > 1 && (!isServerWhole || apart <= stalls.longest() * kRate)) continue;
        EXPECT_LE(apart, 1) << "longest stall " << stalls.longest();
        return;
    }
    GTEST_SKIP() << "too busy a machine to tell anything";
}

TEST_F(ComputerAudioEndToEndTest, withoutTheVirtualDeviceTheTakeSaysHowToInstallIt) {
    PrivatePipeWireServer server;
    ASSERT_TRUE(server.isReady());
    ASSERT_EQ(runProgram({"pw-cli", "-r", server.name(), "destroy", kVirtualDevice}).exitCode, 0);
    auto command = takeCommand({"--computer-audio"});
    command.insert(command.begin(), {"env", server.environment().front()});
    const ProgramRun run = runProgram(command);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.output.find("the virtual device Vintra Audio, which isn't there. To install it"),
              std::string::npos)
        << run.output;
}

} // namespace
} // namespace vintra

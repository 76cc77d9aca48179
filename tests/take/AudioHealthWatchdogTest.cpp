#include "tests/audio/AudioPartsFixture.h"
#include "tests/take/RoutingFixture.h"

#include "Vintra/take/AudioHealthWatchdog.h"

#include <algorithm>
#include <string>
#include <vector>

namespace vintra {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kMicStoppedInTake =
    "Your microphone has stopped recording — everything from this point is missing from the mic track. Stop "
    "and start a new recording; the other tracks are unaffected.";
constexpr const char* kMicGivenUp = "Your microphone stopped sending audio and couldn't be restarted. Check "
                                    "it's still connected, then pick it again.";
constexpr const char* kSoundStoppedInTake =
    "Computer audio has stopped recording — everything from this point is missing from that track. Stop and "
    "start a new recording; the other tracks are unaffected.";
constexpr const char* kSoundGivenUp = "Computer audio stopped arriving and couldn't be restarted. Untick "
                                      "Computer audio and tick it again.";

/// A whole recorder, whose watchdog looks every 2 seconds from its launch on.
class AudioHealthWatchdogTest : public RoutingFixture {
protected:
    std::shared_ptr<SimulatedAudioDevice> device(const std::string& uid) {
        for (const AudioObjectID id : hardware.devices()) {
            if (hardware.device(id)->uid == uid) return hardware.device(id);
        }
        return nullptr;
    }
    Lines healthLines() const { return machine.log->texts("audio-health"); }
    size_t linesWith(const std::string& part) const {
        const Lines lines = healthLines();
        return static_cast<size_t>(std::ranges::count_if(
            lines, [&](const std::string& line) { return line.find(part) != std::string::npos; }));
    }
    int64_t sessionsMade() const { return machine.captureDevices->sessionsMade; }
};

TEST_F(AudioHealthWatchdogTest, aHealthyRecorderIsLeftAlone) {
    turnOnComputerAudio();
    selectMic();
    const int64_t before = sessionsMade();
    machine.run(10);
    start();
    machine.run(10);
    EXPECT_EQ(lastError(), "");
    EXPECT_EQ(healthLines(), Lines{});
    EXPECT_EQ(sessionsMade(), before);
    stop();
}

TEST_F(AudioHealthWatchdogTest, aMicThatFallsSilentIsRebuiltAndGoesOn) {
    selectMic();
    machine.run(2);
    const int64_t before = sessionsMade();
    device("mic.one")->isSilent = true;
    machine.run(3.9);
    EXPECT_EQ(sessionsMade(), before);
    machine.run(2.2);
    EXPECT_EQ(sessionsMade(), before + 1) << "4 to 6 seconds after its last buffer";
    ASSERT_EQ(healthLines().size(), 2u);
    EXPECT_TRUE(healthLines()[0].starts_with("mic stalled — no buffer for ")) << healthLines()[0];
    EXPECT_TRUE(healthLines()[0].ends_with("s, rebuilding (attempt 1)")) << healthLines()[0];
    EXPECT_EQ(healthLines()[1], "mic rebuild attempt 1 — session running again");
    device("mic.one")->isSilent = false;
    machine.run(10);
    EXPECT_EQ(healthLines().size(), 2u);
    device("mic.one")->isSilent = true;
    machine.run(7);
    EXPECT_EQ(linesWith("(attempt 1)"), 2u) << "health put the count back";
    EXPECT_EQ(lastError(), "");
}

TEST_F(AudioHealthWatchdogTest, aMicThatTakesItsTimeIsWaitedFor) {
    device("mic.one")->isSilent = true;
    device("mic.one")->takesItsTime = true;
    selectMic();
    machine.run(20);
    const int64_t before = sessionsMade();
    EXPECT_EQ(healthLines(), Lines{});
    device("mic.one")->takesItsTime = false;
    machine.run(6);
    EXPECT_GT(sessionsMade(), before);
}

TEST_F(AudioHealthWatchdogTest, aMicThatStaysSilentIsRebuiltThreeTimes) {
    selectMic();
    const int64_t before = sessionsMade();
    device("mic.one")->isSilent = true;
    machine.run(60);
    EXPECT_EQ(sessionsMade(), before + 3);
    EXPECT_EQ(linesWith("stalled"), 3u);
    EXPECT_EQ(linesWith("mic rebuild attempt 3 — session running again"), 1u);
    EXPECT_EQ(lastError(), "") << "there is a session";
}

TEST_F(AudioHealthWatchdogTest, aThirdRebuildWithoutASessionIsGivenUpAndTold) {
    selectMic();
    device("mic.one")->isSilent = true;
    ASSERT_TRUE(machine.runMainUntil([&] { return linesWith("rebuild attempt 2 —") == 1; }, 60));
    device("mic.one")->failsToOpen = true;
    machine.run(10);
    EXPECT_EQ(linesWith("mic rebuild attempt 3 — FAILED"), 1u);
    EXPECT_EQ(lastError(), kMicGivenUp);
    machine.run(60);
    EXPECT_EQ(linesWith("stalled"), 3u) << "without a session there is nothing to watch";
}

TEST_F(AudioHealthWatchdogTest, aFirstRebuildThatFailsEndsTheWatching) {
    selectMic();
    device("mic.one")->isSilent = true;
    device("mic.one")->failsToOpen = true;
    machine.run(60);
    EXPECT_EQ(linesWith("stalled"), 1u);
    EXPECT_EQ(linesWith("mic rebuild attempt 1 — FAILED"), 1u);
    EXPECT_EQ(lastError(), "");
}

TEST_F(AudioHealthWatchdogTest, theSecondInputHasItsOwnWords) {
    selectVirtualInput();
    device("daw.two")->isSilent = true;
    ASSERT_TRUE(machine.runMainUntil([&] { return linesWith("rebuild attempt 2 —") == 1; }, 60));
    EXPECT_EQ(linesWith("computer audio stalled — no buffer for "), 2u);
    device("daw.two")->failsToOpen = true;
    machine.run(10);
    EXPECT_EQ(linesWith("computer audio rebuild attempt 3 — FAILED"), 1u);
    EXPECT_EQ(lastError(), kSoundGivenUp);
}

TEST_F(AudioHealthWatchdogTest, aTakeIsToldOncePerStallAndItsSessionsAreLeftAlone) {
    selectMic();
    start();
    const int64_t before = sessionsMade();
    machine.run(3);
    device("mic.one")->isSilent = true;
    machine.run(6.1);
    EXPECT_EQ(lastError(), kMicStoppedInTake);
    recorder->lastError.set(std::nullopt);
    machine.run(30);
    EXPECT_EQ(lastError(), "") << "told once";
    device("mic.one")->isSilent = false;
    machine.run(5);
    device("mic.one")->isSilent = true;
    machine.run(6.1);
    EXPECT_EQ(lastError(), kMicStoppedInTake) << "a second stall";
    EXPECT_EQ(sessionsMade(), before);
    EXPECT_EQ(linesWith("rebuilding"), 0u);
    stop();
    machine.run(2.1);
    EXPECT_EQ(sessionsMade(), before + 1) << "the take is over";
}

TEST_F(AudioHealthWatchdogTest, aTakeTellsOfTheSecondInput) {
    selectVirtualInput();
    start();
    device("daw.two")->isSilent = true;
    machine.run(6.1);
    EXPECT_EQ(lastError(), kSoundStoppedInTake);
    stop();
}

TEST_F(AudioHealthWatchdogTest, aRelayWhoseOutputStopsIsRebuiltAtTheSecondBadCheck) {
    turnOnComputerAudio();
    machine.run(4.5);
    speakers->isStalled = true;
    machine.run(3.9);
    EXPECT_EQ(healthLines(), Lines{}) << "one bad interval is forgiven";
    machine.run(2.2);
    ASSERT_EQ(healthLines().size(), 2u);
    EXPECT_EQ(healthLines()[0],
              "relay stalled — mismatch=false sourceAdvanced=true outputAdvanced=false recording=false");
    EXPECT_EQ(healthLines()[1], "relay rebuild attempt 1 — relay running again");
    speakers->isStalled = false;
    machine.run(20);
    EXPECT_EQ(healthLines().size(), 2u);
    expectHeld(speakers);
}

TEST_F(AudioHealthWatchdogTest, aRelayThatStaysStalledIsRebuiltThreeTimes) {
    turnOnComputerAudio();
    speakers->isStalled = true;
    machine.run(40);
    EXPECT_EQ(linesWith("relay rebuild attempt 3 — relay running again"), 1u);
    EXPECT_EQ(linesWith("rebuild attempt"), 3u);
    EXPECT_EQ(lastError(), "");
}

TEST_F(AudioHealthWatchdogTest, aThirdRelayThatDoesNotStartIsGivenUpAndTold) {
    turnOnComputerAudio();
    speakers->isStalled = true;
    ASSERT_TRUE(machine.runMainUntil([&] { return linesWith("relay rebuild attempt 2") == 1; }, 60));
    speakers->failsToStartIO = true;
    machine.run(10);
    EXPECT_EQ(linesWith("relay rebuild attempt 3 — FAILED"), 1u);
    EXPECT_EQ(lastError(), "Computer audio stopped reaching your output device and couldn't be restarted. "
                           "Check the device in Audio MIDI Setup, then untick and re-tick Computer audio.");
    expectReleased(speakers);
}

TEST_F(AudioHealthWatchdogTest, aTakeTellsOfARelayThatStopsAndKeepsIt) {
    turnOnComputerAudio();
    start();
    speakers->isStalled = true;
    machine.run(8.1);
    EXPECT_EQ(lastError(), "Computer audio stopped reaching your output device mid-recording. The recording "
                           "is still running — restart it after this recording to fix monitoring.");
    recorder->lastError.set(std::nullopt);
    machine.run(30);
    EXPECT_EQ(lastError(), "");
    EXPECT_EQ(linesWith("rebuild"), 0u);
    speakers->isStalled = false;
    machine.run(6);
    speakers->isStalled = true;
    machine.run(8.1);
    EXPECT_NE(lastError(), "") << "a second stall";
    stop();
}

TEST_F(AudioHealthWatchdogTest, aTakeTellsOnceOfAnOutputThatChangesItsRate) {
    turnOnComputerAudio();
    start();
    machine.run(5);
    speakers->nominalSampleRate = 44'100;
    machine.run(8.1);
    EXPECT_EQ(lastError(), "Your output device changed sample rate mid-recording, so computer audio may be "
                           "off-pitch from here on. Other tracks are unaffected.");
    EXPECT_GE(linesWith("relay stalled — mismatch=true"), 1u);
    EXPECT_TRUE(*recorder->isHoldingAudioRouting) << "it goes on";
    recorder->lastError.set(std::nullopt);
    machine.run(30);
    EXPECT_EQ(lastError(), "");
    stop();
}

TEST_F(AudioHealthWatchdogTest, aBusyMainThreadIsNoStall) {
    turnOnComputerAudio();
    selectMic();
    machine.run(5);
    machine.mainThread->runNow([&] { machine.run(20); });
    machine.run(10);
    EXPECT_EQ(linesWith("relay"), 0u) << "checks that were missed aren't made up for all at once";
}

/// The watchdog with what it needs, and no recorder.
class AudioHealthWatchdogAloneTest : public AudioPartsFixture {
protected:
    OutputRouting routing{
        {.platform = platform, .selection = selection, .isRecording = isRecording, .lastError = lastError}};
    AudioPreviews previews{{.platform = platform,
                            .selection = selection,
                            .sessionControl = sessionControl,
                            .outputRouting = routing,
                            .isRecording = isRecording,
                            .lastError = lastError,
                            .samplePath = samplePath}};
    AudioHealthWatchdog watchdog{{.platform = platform,
                                  .previews = previews,
                                  .outputRouting = routing,
                                  .samplePath = *samplePath,
                                  .isRecording = isRecording,
                                  .lastError = lastError}};
};

TEST_F(AudioHealthWatchdogAloneTest, fourSecondsExactlyAreNoStall) {
    selection.selectedMicDeviceID.set("mic.one");
    machine.run(0.5);
    machine.audioHardware->device(machine.audioHardware->devices().front())->isSilent = true;
    machine.time->advanceTo(2000 * INT64_C(1'000'000'000));
    samplePath->micActivity.stamp(1996.0);
    watchdog.check();
    EXPECT_EQ(machine.log->texts("audio-health"), Lines{});
    samplePath->micActivity.stamp(1995.875);
    watchdog.check();
    EXPECT_EQ(machine.log->texts("audio-health").front(),
              "mic stalled — no buffer for 4.1s, rebuilding (attempt 1)");
    machine.run(0.5);
    EXPECT_EQ(previews.mic().deviceID(), "mic.one");
}

TEST_F(AudioHealthWatchdogAloneTest, withoutASessionThereIsNothingToWatch) {
    samplePath->micActivity.stamp(1.0);
    watchdog.check();
    EXPECT_EQ(machine.log->texts("audio-health"), Lines{});
    EXPECT_EQ(machine.captureDevices->sessionsMade, 0);
}

} // namespace
} // namespace vintra

#include "tests/take/RoutingFixture.h"

#include <string>
#include <vector>

namespace vintra {
namespace {

using Lines = std::vector<std::string>;

class DiagnosticsReportTest : public RoutingFixture {
protected:
    Lines report() const {
        Lines lines{""};
        for (const char c : recorder->diagnosticsReport()) {
            if (c == '\n') {
                lines.emplace_back();
            } else {
                lines.back() += c;
            }
        }
        return lines;
    }
    std::string lineThatBegins(const std::string& with) const {
        for (const std::string& line : report()) {
            if (line.starts_with(with)) return line;
        }
        return "no line begins with " + with;
    }
};

TEST_F(DiagnosticsReportTest, withNothingSelectedItIsAllOff) {
    EXPECT_EQ(report(), (Lines{"Vintra 0 (build 0)", "macOS · unknown", "", "Output device: Speakers @ 48kHz",
                               "Screen: on", "Webcam: off",
                               "  camera frame rate ceiling: 30 fps (default) · put "
                               "back 0 times after something reset it",
                               "Mic: off · ch 1 · gain +0dB · name \"mic\"",
                               "Virtual input: off · gain +0dB · trim -6dB", "Extra inputs: none",
                               "State: idle · Ready"}));
}

TEST_F(DiagnosticsReportTest, anOutputAtAnotherRateIsResampled) {
    speakers->nominalSampleRate = 44'100;
    recorder.reset();
    makeRecorder();
    EXPECT_EQ(lineThatBegins("Output device"),
              "Output device: Speakers @ 44.1kHz  (resampled to 48kHz on write)");
    hardware.defaultSystemOutput = 0;
    recorder.reset();
    makeRecorder();
    EXPECT_EQ(lineThatBegins("Output device"), "Output device: could not be read");
}

TEST_F(DiagnosticsReportTest, theScreenTellsOfClicksAndOfLastLosses) {
    recorder->screenEnabled.set(false);
    recorder->showMouseClicks.set(true);
    recorder->lastScreenDropSummary = "2 frames lost";
    const Lines lines = report();
    EXPECT_EQ(lines[4], "Screen: off (click highlight on)");
    EXPECT_EQ(lines[5], "  2 frames lost");
}

TEST_F(DiagnosticsReportTest, soundInputsAreDescribed) {
    selectMic("multi.eight");
    recorder->selectedMicChannelIndex.set(2);
    recorder->micGainDB.set(-3.7);
    recorder->micTrackName.set("Voice");
    selectVirtualInput();
    recorder->dawGainDB.set(6);
    EXPECT_EQ(lineThatBegins("Mic"), "Mic: Stage Box (8ch) · ch 3 · gain +-3dB · name \"Voice\"");
    EXPECT_EQ(lineThatBegins("Virtual"), "Virtual input: Workstation (2ch) · gain +6dB · trim -6dB");
    recorder->selectedDawDeviceID.set("gone");
    EXPECT_EQ(lineThatBegins("Virtual"), "Virtual input: gone · gain +6dB · trim -6dB");
}

TEST_F(DiagnosticsReportTest, extraInputsHaveALineEach) {
    addExtraInput("multi.eight", 4, "Room", 2.5);
    addExtraInput("mic.one", 0);
    const Lines lines = report();
    const auto at = std::ranges::find(lines, "Extra inputs (2):");
    ASSERT_NE(at, lines.end());
    EXPECT_EQ(*(at + 1), "  · Room: Stage Box (8ch) ch 5 · gain +2dB");
    EXPECT_EQ(*(at + 2), "  · (unnamed): Desk Microphone (1ch) ch 1 · gain +0dB");
}

TEST_F(DiagnosticsReportTest, computerAudioTellsOfItsDeviceAndRelay) {
    recorder->lowLatencyMonitoring.set(true);
    turnOnComputerAudio();
    EXPECT_EQ(lineThatBegins("Computer audio"),
              "Computer audio: Vintra Audio device · device 48000Hz · gain +0dB · "
              "trim -6dB · LOW LATENCY monitoring");
    EXPECT_TRUE(lineThatBegins("Relay: ").starts_with("Relay: "));
    EXPECT_EQ(lineThatBegins("  driver"),
              "  driver installed: true · in device list: true · monitor: same as before");
    recorder->stopSystemAudioRelay();
    EXPECT_EQ(
        lineThatBegins("Computer audio"),
        "Computer audio: system audio tap (driver installed, but relay not running) · device 48000Hz · gain "
        "+0dB · trim -6dB · LOW LATENCY monitoring");
    EXPECT_TRUE(lineThatBegins("Relay").starts_with("Relay (last take): "));
    recorder->systemAudioMonitorUID.set("headphones");
    EXPECT_TRUE(lineThatBegins("  driver").ends_with(" · monitor: Headphones"));
    recorder->systemAudioMonitorUID.set("gone");
    EXPECT_TRUE(lineThatBegins("  driver").ends_with(" · monitor: saved device not attached"));
    hardware.unplug(virtualDevice->uid);
    machine.run(0.5);
    EXPECT_EQ(
        lineThatBegins("Computer audio"),
        "Computer audio: system audio tap (driver not found) · gain +0dB · trim -6dB · LOW LATENCY monitoring");
}

TEST_F(DiagnosticsReportTest, camerasTellOfTheirCeilingAndTheLastTake) {
    recorder->selectedCameraDeviceID.set("cam.gone");
    machine.userDefaults->values["webcamMaxFrameRate"] = 24.0;
    recorder->lastCameraTakeSummary = {"last take · webcam (Cam): all well"};
    EXPECT_EQ(lineThatBegins("Webcam"), "Webcam: cam.gone");
    EXPECT_EQ(
        lineThatBegins("  camera frame"),
        "  camera frame rate ceiling: 24 fps (set by webcamMaxFrameRate) · put back 0 times after something reset it");
    EXPECT_EQ(lineThatBegins("  last take"), "  last take · webcam (Cam): all well");
    machine.userDefaults->values["webcamMaxFrameRate"] = 0.0;
    EXPECT_EQ(lineThatBegins("  camera frame"),
              "  camera frame rate ceiling: none (lifted by webcamMaxFrameRate)");
}

TEST_F(DiagnosticsReportTest, theStateAndTheLastMessageStandAtTheEnd) {
    start();
    recorder->lastError.set("A sentence.");
    const Lines lines = report();
    EXPECT_EQ(lines[lines.size() - 2], "State: recording · Recording screen…");
    EXPECT_EQ(lines.back(), "Last message: A sentence.");
    stop();
}

} // namespace
} // namespace vintra

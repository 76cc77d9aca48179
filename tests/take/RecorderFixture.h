#pragma once

#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// A recorder on a simulated machine with one display, and what every test of a take does with it.
class RecorderFixture : public ::testing::Test {
protected:
    static constexpr const char* kFolder = "/home/user/Videos/Vintra";

    void SetUp() override {
        machine.fileManager->createDirectory(URL::fileURL(kFolder));
        machine.userDefaults->values["screenFrameRate"] = int64_t{30};
        machine.userDefaults->values["timelineEditor"] = std::string("none");
        machine.audioHardware->plug("mic.one", "Desk Microphone", 1);
        machine.audioHardware->plug("daw.two", "Workstation", 2);
        machine.audioHardware->plug("multi.eight", "Stage Box", 8);
        makeRecorder();
    }
    /// Every test ends with the contract of the writers, sessions and streams kept.
    void TearDown() override {
        EXPECT_EQ(machine.violations->list, std::vector<std::string>{});
        recorder.reset();
    }

    void makeRecorder() {
        recorder = ScreenRecorderManager::make(machine.platform());
        machine.run(0.5);
    }
    void selectMic(const std::string& uid = "mic.one") {
        recorder->selectedMicDeviceID.set(uid);
        machine.run(0.2);
    }
    void selectVirtualInput(const std::string& uid = "daw.two") {
        recorder->selectedDawDeviceID.set(uid);
        machine.run(0.2);
    }
    void addExtraInput(const std::string& uid, int channel, const std::string& name = "", double gainDB = 0) {
        const UUID id = machine.processInfo->makeUUID();
        recorder->extraAudioInputs.update([&](auto& rows) {
            rows.push_back(
                {.id = id, .deviceID = uid, .channelIndex = channel, .name = name, .gainDB = gainDB});
        });
        machine.run(0.2);
    }

    /// A camera of tiny pictures, whose numbers can be read back.
    std::shared_ptr<SimulatedCamera> plugCamera(const std::string& uid, const std::string& name,
                                                double rate = 30) {
        SimulatedCamera camera;
        camera.uid = uid;
        camera.name = name;
        camera.formats = {SimulatedCamera::format(32, 18, "420v", rate, rate)};
        auto plugged = machine.cameras->plug(std::move(camera));
        machine.run(0.2);
        return plugged;
    }
    void selectCamera(const std::string& uid) {
        recorder->selectedCameraDeviceID.set(uid);
        machine.run(0.2);
    }
    UUID addCamera(const std::optional<std::string>& uid) {
        const UUID id = machine.processInfo->makeUUID();
        recorder->extraCameras.update([&](auto& rows) { rows.push_back({.id = id, .deviceID = uid}); });
        machine.run(0.2);
        return id;
    }

    URL videoURL() const { return URL::fileURL(std::string(kFolder) + "/take_video.mov"); }
    static std::string path(const std::string& name) { return std::string(kFolder) + "/" + name; }
    void start() { machine.complete(recorder->startRecording(videoURL())); }
    void stop() {
        machine.complete(recorder->stopRecording());
        checkScreenFrames();
    }
    /// What the last take's account says of the screen movie agrees with what its writer took, and adds up to
    /// the slots from the first picture to the stop.
    void checkScreenFrames() const {
        const auto& account = recorder->lastTakeScreenFrames();
        const auto movie = writer("take_video.mov");
        if (!account || !movie || *recorder->isRecording) return;
        const auto times = movie->input(AVMediaType::video)->presentationTimes();
        const CMTime start = movie->sessionStart();
        if (times.empty() || start != *recorder->recordingCommonStartTime) return;
        // Counted from the first picture written; the rate may have been put back since.
        const double rate =
            1 / CMTimeGetSeconds(movie->input(AVMediaType::video)->accepted().front().duration());
        const auto position = [&](CMTime time) { return CMTimeGetSeconds(time - times.front()) * rate; };
        const auto taken = static_cast<int64_t>(times.size());
        EXPECT_LE(account->own, taken);
        EXPECT_GE(account->own + account->copied + account->lost, taken);
        EXPECT_LE(account->own + account->copied, taken);
        EXPECT_GE(account->unchanged, 0);
        const auto stop = static_cast<int64_t>(std::ceil(position(recorder->lastTakeStopTime()) - 1e-6));
        const auto last = static_cast<int64_t>(std::round(position(times.back()))) + 1;
        // A loss may come before the first picture and after the last.
        EXPECT_GE(account->slots(), std::max(stop, last));
        if (account->lost == 0) {
            EXPECT_EQ(account->slots(), std::max(stop, last));
        }
    }
    void recordFor(double seconds) {
        start();
        ASSERT_TRUE(*recorder->isRecording) << recorder->lastError->value_or("no error");
        machine.run(seconds);
        stop();
    }

    std::shared_ptr<SimulatedAssetWriter> writer(const std::string& name) const {
        return machine.assetWriters->writer(name);
    }
    std::shared_ptr<SimulatedAssetWriterInput> videoTrack() const {
        return writer("take_video.mov")->input(AVMediaType::video);
    }
    std::shared_ptr<SimulatedAssetWriterInput> cameraTrack(const std::string& name) const {
        return writer(name)->input(AVMediaType::video);
    }
    std::shared_ptr<SimulatedAssetWriterInput> soundTrack(const std::string& name) const {
        return writer(name)->input(AVMediaType::audio);
    }
    std::string lastError() const { return recorder->lastError->value_or(""); }
    /// The last components of every file in the take's folder, but for the journal of a take that runs.
    std::vector<std::string> files() const {
        auto names = machine.fileManager->contentsOfDirectory(URL::fileURL(kFolder));
        if (*recorder->isRecording) std::erase(names, ".take.vintra");
        return names;
    }
    /// What was called on the machine, but for the notes of the journal, which are made beside everything else.
    std::vector<std::string> calls() const {
        auto calls = machine.journal->calls;
        std::erase(calls, "vintra.take.journal: async");
        return calls;
    }
    /// What a failed start must leave behind: nothing recording, nothing open, the previews as they were.
    void expectUndone(const std::string& error) {
        EXPECT_EQ(lastError(), error);
        EXPECT_EQ(*recorder->statusMessage, "Failed to start");
        EXPECT_FALSE(*recorder->isRecording);
        EXPECT_FALSE(*recorder->isBusy);
        EXPECT_FALSE(*recorder->activeMicTrack);
        EXPECT_FALSE(recorder->recordingStartDate->has_value());
        for (const auto& made : machine.assetWriters->writers) {
            EXPECT_NE(made->status(), AVAssetWriterStatus::writing) << made->outputURL().path();
            const size_t before = appendCount(*made);
            machine.run(0.5);
            EXPECT_EQ(appendCount(*made), before) << "a sink was left filled: " << made->outputURL().path();
        }
    }
    static size_t appendCount(const SimulatedAssetWriter& of) {
        size_t count = 0;
        for (const auto& input : of.inputs())
            count += input->appends.size();
        return count;
    }

    SimulatedMachine machine;
    std::shared_ptr<ScreenRecorderManager> recorder;
};

} // namespace vintra

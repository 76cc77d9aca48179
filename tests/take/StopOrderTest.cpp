// The steps of a stop in their order, on a machine where the stream, the writers and the appends take time.

#include "tests/take/RecorderFixture.h"
#include "tests/take/StateLog.h"

#include "Vintra/take/WavFile.h"

#include <algorithm>

namespace vintra {
namespace {

class StopOrderTest : public RecorderFixture {
protected:
    void startTake() {
        selectMic();
        selectVirtualInput();
        addExtraInput("multi.eight", 0, "Left");
        addExtraInput("multi.eight", 1, "Right");
        start();
        ASSERT_TRUE(*recorder->isRecording) << lastError();
        machine.run(1);
        machine.journal->calls.clear();
    }
};

TEST_F(StopOrderTest, sourcesEndThenQueuesThenInputsThenWriters) {
    startTake();
    stop();
    EXPECT_EQ(calls(), (std::vector<std::string>{
                           "screen stream: stopCapture",
                           "com.screenrecorder.videoOutput: async",
                           "com.screenrecorder.webcamOutput: async",
                           "com.screenrecorder.micOutput: async",
                           "com.screenrecorder.dawOutput: async",
                           "com.screenrecorder.extraInputOutput: async",
                           "com.screenrecorder.systemAudio: async",
                           "com.screenrecorder.videoOutput: async", // the beat's end
                           "take_video.mov: video markAsFinished",
                           "take_mic.wav: audio markAsFinished",
                           "take_video.mov: audio markAsFinished",
                           "take_computer-audio.wav: audio markAsFinished",
                           "take_video.mov: audio markAsFinished",
                           "take_Left.wav: audio markAsFinished",
                           "take_video.mov: audio markAsFinished",
                           "take_Right.wav: audio markAsFinished",
                           "take_video.mov: audio markAsFinished",
                           "take_video.mov: finishWriting",
                           "take_mic.wav: finishWriting",
                           "take_computer-audio.wav: finishWriting",
                           "take_Left.wav: finishWriting",
                           "take_Right.wav: finishWriting",
                       }));
}

TEST_F(StopOrderTest, aBufferOnItsWayIsWrittenBeforeItsFileEnds) {
    // Each append blocks its queue for most of the time between two buffers, so one is always underway.
    machine.assetWriters->script = [](const URL& url, AVFileType) {
        return SimulatedWriterScript{.appendSeconds = url.path().ends_with(".wav") ? 0.009 : 0};
    };
    startTake();
    stop();
    // An append to a finished input is a violation, which the test's end looks at.
    for (const char* name : {"take_mic.wav", "take_computer-audio.wav", "take_Left.wav", "take_Right.wav"}) {
        for (const auto& append : soundTrack(name)->appends)
            EXPECT_TRUE(append.isAccepted) << name;
    }
}

TEST_F(StopOrderTest, soundIsTakenUpToThePressOfTheButton) {
    machine.screenCapture->script.stopSeconds = 0.5;
    startTake();
    const CMTime pressed = machine.now();
    stop();
    for (const char* name : {"take_mic.wav", "take_computer-audio.wav", "take_Left.wav", "take_Right.wav"}) {
        const CMSampleBuffer last = soundTrack(name)->accepted().back();
        const CMTime end = last.presentationTimeStamp() + last.duration();
        EXPECT_NEAR(CMTimeGetSeconds(end - pressed), 0, 1.0 / 48'000) << name;
    }
}

TEST_F(StopOrderTest, soundThatWasHeardBeforeThePressIsWaitedFor) {
    for (const char* uid : {"mic.one", "daw.two", "multi.eight"})
        machine.audioHardware->device(uid)->lateness = [](int64_t) { return 0.15; };
    startTake();
    const CMTime pressed = machine.now();
    stop();
    EXPECT_LT(CMTimeGetSeconds(machine.now() - pressed), 0.2);
    for (const char* name : {"take_mic.wav", "take_computer-audio.wav", "take_Left.wav", "take_Right.wav"}) {
        const CMSampleBuffer last = soundTrack(name)->accepted().back();
        const CMTime end = last.presentationTimeStamp() + last.duration();
        EXPECT_NEAR(CMTimeGetSeconds(end - pressed), 0, 1.0 / 48'000) << name;
    }
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(StopOrderTest, aDeviceThatHangsHoldsAStopUpForAMomentOnly) {
    startTake();
    machine.audioHardware->device("mic.one")->isSilent = true;
    machine.run(0.5);
    const CMTime pressed = machine.now();
    stop();
    EXPECT_LT(CMTimeGetSeconds(machine.now() - pressed), 0.4);
}

TEST_F(StopOrderTest, theTakeIsAsLongAsToThePressOfTheButton) {
    // The screen doesn't change, and its stream takes its time to stop: the movie is filled up to the press.
    machine.screenCapture->script.frames = [](int64_t index) {
        return index == 0 ? std::optional(SimulatedFrame{}) : std::nullopt;
    };
    machine.screenCapture->script.stopSeconds = 0.5;
    startTake();
    machine.run(0.01); // between two slots
    const CMTime pressed = machine.now();
    // The grid's own timer sleeps meanwhile, so that only the end of the beat fills.
    machine.dispatchQueues->setTimerLateness(
        [](const std::string&, int64_t) { return INT64_C(60'000'000'000); });
    stop();
    const CMTime last = videoTrack()->presentationTimes().back();
    EXPECT_LT(CMTimeGetSeconds(last - pressed), 0);
    EXPECT_GT(CMTimeGetSeconds(last - pressed), -2.0 / 30);
}

TEST_F(StopOrderTest, thePublishedStateFollowsItsOrder) {
    machine.audioHardware->device("mic.one")->firstFrameSeconds = 0.25; // so that its file is padded
    recorder->selectedMicDeviceID.set("mic.one");
    start();
    machine.run(3);
    const StateLog log(*recorder);
    stop();
    EXPECT_EQ(log.lines,
              (std::vector<std::string>{"busy yes", "recording no", "date none", "mic no", "second no",
                                        "webcam no", "status Finishing…", "status Saved", "busy no"}));
}

TEST_F(StopOrderTest, theTakeIsOverForTheWindowOnlyWhenEveryWriterHasFinished) {
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.finishSeconds = 1};
    };
    selectMic();
    start();
    machine.run(1);
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->stopRecording()); });
    machine.run(1.9); // the movie has finished, the WAV hasn't
    EXPECT_TRUE(*recorder->isRecording);
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isRecording; }));
    EXPECT_EQ(writer("take_mic.wav")->status(), AVAssetWriterStatus::completed);
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
}

TEST_F(StopOrderTest, theTimelineIsWrittenAfterThePaddingOfTheSounds) {
    machine.userDefaults->values["timelineEditor"] = std::string("resolve");
    machine.audioHardware->device("mic.one")->firstFrameSeconds = 1;
    recorder->selectedMicDeviceID.set("mic.one");
    start();
    machine.run(3);
    machine.fileManager->disk->records.clear();
    stop();
    const auto& records = machine.fileManager->disk->records;
    const auto replaced = std::ranges::find_if(records, [](const SimulatedDisk::Record& record) {
        return record.operation == SimulatedFileOperation::replaceItem;
    });
    const auto written = std::ranges::find_if(records, [](const SimulatedDisk::Record& record) {
        return record.operation == SimulatedFileOperation::writeAtomically;
    });
    ASSERT_NE(replaced, records.end()) << "the padded WAV takes the place of the recorded one";
    ASSERT_NE(written, records.end());
    EXPECT_LT(replaced, written);
}

} // namespace
} // namespace vintra

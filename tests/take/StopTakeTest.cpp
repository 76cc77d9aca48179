#include "tests/take/RecorderFixture.h"

#include "Vintra/take/WavFile.h"

#include <cmath>

namespace vintra {
namespace {

class StopTakeTest : public RecorderFixture {};

int32_t sampleAt(const std::string& file, size_t dataStart, size_t frame) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(file.data()) + dataStart + 3 * frame;
    const int32_t raw = bytes[0] | bytes[1] << 8 | bytes[2] << 16;
    return raw >= 1 << 23 ? raw - (1 << 24) : raw;
}

TEST_F(StopTakeTest, aTakeOfOneMicIsSaved) {
    recorder->screenEnabled.set(false);
    selectMic();
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
    EXPECT_FALSE(recorder->lastError->has_value());
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_FALSE(*recorder->activeMicTrack);
    EXPECT_EQ(files(), (std::vector<std::string>{"take_mic.wav"})) << "and no temporary file";
    EXPECT_EQ(recorder->lastScreenBeatSummary, "");
}

TEST_F(StopTakeTest, aStopWithoutATakeReturnsAtOnce) {
    recorder->lastError.set("kept");
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Ready");
    EXPECT_EQ(lastError(), "kept");
}

TEST_F(StopTakeTest, aStopDuringTheStartReturnsAtOnce) {
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    stop();
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_TRUE(*recorder->isRecording);
    stop();
}

TEST_F(StopTakeTest, aSecondStopReturnsAtOnce) {
    start();
    machine.run(1);
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->stopRecording()); });
    EXPECT_TRUE(*recorder->isBusy);
    stop();
    EXPECT_TRUE(*recorder->isBusy) << "the first one still runs";
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(StopTakeTest, aWavBeginsAtTheCommonStartToTheFrame) {
    // The device's first frame is heard 0.7 s after its session began, and the session is rebuilt right
    // before the take.
    machine.audioHardware->device("mic.one")->firstFrameSeconds = 0.7;
    machine.audioHardware->device("mic.one")->signal = [](uint32_t, int64_t, CMTime) { return 0.25f; };
    recorder->selectedMicDeviceID.set("mic.one");
    start();
    machine.run(2);
    stop();
    const auto track = soundTrack("take_mic.wav");
    const CMTime first = track->accepted().front().presentationTimeStamp();
    const double gap = CMTimeGetSeconds(first - writer("take_mic.wav")->sessionStart());
    ASSERT_GT(gap, 0.1) << "or there is nothing to pad";
    const auto padFrames = static_cast<size_t>(std::llround(gap * 48000));

    const auto header = readWavHeader(*machine.fileManager, URL::fileURL(path("take_mic.wav")));
    ASSERT_TRUE(header.has_value());
    const std::string bytes = *machine.fileManager->contents(path("take_mic.wav"));
    size_t recorded = 0;
    for (const auto& sample : track->accepted())
        recorded += static_cast<size_t>(sample.numSamples());
    EXPECT_EQ(header->declaredDataSize, static_cast<int64_t>(3 * (padFrames + recorded)));
    for (size_t frame = 0; frame < padFrames; ++frame)
        ASSERT_EQ(sampleAt(bytes, header->dataStart, frame), 0) << frame;
    // The first recorded frame may itself be warm-up; the first that isn't carries the signal, a quarter of
    // full scale.
    size_t firstHeard = padFrames;
    while (firstHeard < padFrames + recorded && sampleAt(bytes, header->dataStart, firstHeard) == 0)
        ++firstHeard;
    ASSERT_LT(firstHeard, padFrames + recorded);
    EXPECT_EQ(sampleAt(bytes, header->dataStart, firstHeard), 1 << 21);
    EXPECT_GE(firstHeard, 14400u - 512u) << "0.3 s of warm-up, to the buffer";
}

TEST_F(StopTakeTest, everyFileIsPaddedToTheSameStart) {
    selectMic();
    machine.audioHardware->device("multi.eight")->firstFrameSeconds = 1.3;
    const UUID id = machine.processInfo->makeUUID();
    recorder->extraAudioInputs.set(
        {{.id = id, .deviceID = "multi.eight", .channelIndex = 4, .name = "Keys", .gainDB = 0}});
    recordFor(3);
    for (const std::string name : {"take_mic.wav", "take_Keys.wav"}) {
        const auto track = soundTrack(name);
        const double gap = CMTimeGetSeconds(track->accepted().front().presentationTimeStamp() -
                                            writer(name)->sessionStart());
        int64_t frames = 0;
        for (const auto& sample : track->accepted())
            frames += sample.numSamples();
        // A buffer that begins before the common start loses what lies before it; a small gap stays.
        const int64_t padded = gap > 0.01 || gap < 0 ? std::llround(gap * 48000) : 0;
        const auto header = readWavHeader(*machine.fileManager, URL::fileURL(path(name)));
        ASSERT_TRUE(header.has_value()) << name;
        EXPECT_NEAR(header->declaredDataSize, 3 * (frames + padded), 3) << name << ": to the frame";
    }
}

TEST_F(StopTakeTest, aTrackWithoutABufferIsToldOfAndNotPadded) {
    machine.audioHardware->device("mic.one")->isSilent = true;
    selectMic();
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_EQ(lastError(), "No audio was captured for: microphone. That file is empty — "
                           "check the device is connected and running at 48kHz.");
}

TEST_F(StopTakeTest, aTrackOfZerosIsToldOf) {
    machine.audioHardware->device("mic.one")->signal = [](uint32_t, int64_t, CMTime) { return 0.0f; };
    selectMic();
    recordFor(2);
    EXPECT_EQ(
        lastError(),
        "Recorded silence on: microphone. Those files are the right length but every sample is zero — if "
        "that wasn't intended, check the source is playing and that Vintra is routing it.");
}

TEST_F(StopTakeTest, signalInTheWarmUpAloneCountsAsSilence) {
    selectMic();
    start();
    const CMTime begun = writer("take_mic.wav")->sessionStart();
    machine.audioHardware->device("mic.one")->signal = [begun](uint32_t, int64_t, CMTime at) {
        return at < begun + CMTimeMake(1, 4) ? 0.5f : 0.0f;
    };
    machine.run(2);
    stop();
    EXPECT_TRUE(lastError().starts_with("Recorded silence on: microphone.")) << lastError();
}

TEST_F(StopTakeTest, aTrackThatEndsEarlyIsToldOfWithItsGap) {
    selectMic();
    start();
    machine.run(3);
    machine.audioHardware->unplug("mic.one");
    machine.run(5);
    stop();
    EXPECT_EQ(lastError(), "Recording stopped early on: microphone (5s short). Those tracks "
                           "end before the rest of the recording, so audio is missing from "
                           "the end — the recording is incomplete and worth doing again.");
}

TEST_F(StopTakeTest, warningsAreHiddenFromTheWindowOnRequest) {
    machine.userDefaults->values["hideTakeWarnings"] = true;
    machine.audioHardware->device("mic.one")->isSilent = true;
    selectMic();
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
    EXPECT_FALSE(recorder->lastError->has_value());
    const auto lines = machine.log->texts("audio-health");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(
        lines[0].starts_with("take warnings hidden from the window: No audio was captured for: microphone."));
}

TEST_F(StopTakeTest, aFailedScreenWriterLosesItsOwnFileAlone) {
    machine.assetWriters->script = [](const URL& url, AVFileType) {
        return SimulatedWriterScript{.finishFails = url.path().ends_with(".mov")};
    };
    machine.userDefaults->values["timelineEditor"] = std::string("resolve");
    machine.audioHardware->device("mic.one")->firstFrameSeconds = 0.5;
    recorder->selectedMicDeviceID.set("mic.one");
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Save failed");
    EXPECT_TRUE(lastError().starts_with("Some tracks failed to save: screen recording (")) << lastError();
    EXPECT_EQ(writer("take_mic.wav")->status(), AVAssetWriterStatus::completed);
    const auto header = readWavHeader(*machine.fileManager, URL::fileURL(path("take_mic.wav")));
    ASSERT_TRUE(header.has_value());
    int64_t frames = 0;
    for (const auto& sample : soundTrack("take_mic.wav")->accepted())
        frames += sample.numSamples();
    EXPECT_GT(header->declaredDataSize, 3 * frames) << "the WAV is padded all the same";
    EXPECT_FALSE(machine.fileManager->fileExists(URL::fileURL(path("take.otio"))))
        << "no timeline of a failed take";
}

TEST_F(StopTakeTest, everyFailureIsNamedInTheOrderOfTheWriters) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 0);
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.finishFails = true};
    };
    recordFor(1);
    const std::string text = lastError();
    size_t last = 0;
    for (const char* label :
         {"screen recording (", "; mic track (", "; virtual input track (", "; take_Stage Box_ch1.wav ("}) {
        const size_t at = text.find(label);
        ASSERT_NE(at, std::string::npos) << label << " in " << text;
        EXPECT_GT(at, last);
        last = at;
    }
}

TEST_F(StopTakeTest, aWriterThatBreaksInTheMiddleIsReportedAndTheOthersSaved) {
    selectMic();
    start();
    machine.run(1);
    writer("take_mic.wav")->fail("The disk is full.");
    machine.run(1);
    stop();
    EXPECT_EQ(lastError(), "Some tracks failed to save: mic track (The disk is full.)");
    EXPECT_EQ(writer("take_video.mov")->status(), AVAssetWriterStatus::completed);
}

TEST_F(StopTakeTest, anErrorOfTheStreamsStopIsIgnored) {
    machine.screenCapture->script.stopError = SystemError("test", 4, "It wouldn't stop.");
    recordFor(1);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(StopTakeTest, whyATakeEndedByItselfIsToldBeforeWhatElseIsWrong) {
    machine.audioHardware->device("mic.one")->isSilent = true;
    selectMic();
    for (const bool saves : {true, false}) {
        machine.assetWriters->script = [saves](const URL&, AVFileType) {
            return SimulatedWriterScript{.finishFails = !saves};
        };
        machine.complete(recorder->startRecording(URL::fileURL(path(saves ? "a_video.mov" : "b_video.mov"))));
        machine.run(2);
        machine.screenCapture->stream()->die(SystemError("test", 5, "the display went away"));
        EXPECT_TRUE(machine.runMainUntil([&] { return !*recorder->isRecording && !*recorder->isBusy; }));
        machine.run(0.1);
        EXPECT_EQ(*recorder->statusMessage, "Stopped unexpectedly");
        EXPECT_TRUE(lastError().starts_with(
            std::string("Screen capture stopped unexpectedly (the display went away). ") +
            (saves ? "No audio was captured for: microphone."
                   : "Some tracks failed to save: screen recording (")))
            << lastError();
    }
}

TEST_F(StopTakeTest, aStreamThatDiesEndsTheTakeWithWhatWasCaptured) {
    selectMic();
    start();
    machine.run(2);
    machine.screenCapture->stream()->die(SystemError("test", 5, "the display went away"));
    EXPECT_TRUE(machine.runMainUntil([&] { return !*recorder->isRecording && !*recorder->isBusy; }));
    machine.run(0.1);
    EXPECT_EQ(*recorder->statusMessage, "Stopped unexpectedly");
    EXPECT_EQ(lastError(),
              "Screen capture stopped unexpectedly (the display went away). Saving what was captured…");
    EXPECT_EQ(writer("take_video.mov")->status(), AVAssetWriterStatus::completed);
    EXPECT_EQ(writer("take_mic.wav")->status(), AVAssetWriterStatus::completed);
    EXPECT_GE(videoTrack()->accepted().size(), 55u);
}

TEST_F(StopTakeTest, aStreamThatDiesOutsideATakeChangesNothing) {
    start();
    const auto stream = machine.screenCapture->stream();
    machine.run(1);
    stop();
    stream->streamDelegate()->stream(*stream, SystemError("test", 6, "late news"));
    machine.run(0.5);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(StopTakeTest, theSummaryOfTheBeatSaysBeatUpTo30AndGridAbove) {
    recordFor(2);
    EXPECT_TRUE(recorder->lastScreenBeatSummary.starts_with("on a 30 fps beat: "))
        << recorder->lastScreenBeatSummary;
    recorder->screenFrameRate.set(60);
    start();
    EXPECT_FALSE(*recorder->isRecording) << "the name is taken";
    machine.complete(recorder->startRecording(URL::fileURL(path("next_video.mov"))));
    machine.run(2);
    stop();
    EXPECT_TRUE(recorder->lastScreenBeatSummary.starts_with("on a 60 fps grid, no copies: "))
        << recorder->lastScreenBeatSummary;
    EXPECT_EQ(recorder->lastScreenDropSummary,
              "last take dropped no screen frames · " + recorder->lastScreenBeatSummary);
}

TEST_F(StopTakeTest, lostFramesAreCountedAndTold) {
    // The writer stands still between 2 s and 3 s: at 30 fps the beat holds one frame and loses the others.
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.isStalled = [](double seconds) { return seconds >= 2 && seconds < 3; }};
    };
    recordFor(5);
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    // 30 arrive while it stands still, of which the last one is written afterwards.
    const std::string text = lastError();
    const int lost = std::stoi(text);
    EXPECT_GE(lost, 28);
    EXPECT_LE(lost, 30);
    EXPECT_TRUE(text.starts_with(std::to_string(lost) +
                                 " screen frames were dropped because the encoder couldn't keep up — "
                                 "the video is complete but momentarily less smooth."))
        << text;
    EXPECT_TRUE(recorder->lastScreenDropSummary->starts_with("last take dropped " + std::to_string(lost) +
                                                             " screen frames · first at 2."))
        << *recorder->lastScreenDropSummary;
}

TEST_F(StopTakeTest, countersBeginAnewWithEachTake) {
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.isStalled = [](double seconds) { return seconds >= 2 && seconds < 3; }};
    };
    recordFor(5);
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    machine.assetWriters->script = nullptr;
    machine.complete(recorder->startRecording(URL::fileURL(path("next_video.mov"))));
    machine.run(3);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved");
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(StopTakeTest, droppedBuffersAreCountedAndTold) {
    machine.assetWriters->script = [](const URL& url, AVFileType) {
        SimulatedWriterScript script;
        if (url.path().ends_with(".wav"))
            script.isStalled = [](double seconds) { return seconds >= 1 && seconds < 1.02; };
        return script;
    };
    selectMic();
    recordFor(3);
    // Buffers of 512 frames come every 10.67 ms: 0.02 s hold one or two.
    EXPECT_TRUE(lastError().starts_with("2 audio buffers were dropped") ||
                lastError().starts_with("1 audio buffer was dropped"))
        << lastError();
}

TEST_F(StopTakeTest, everyInputIsMarkedAsFinished) {
    selectMic();
    addExtraInput("multi.eight", 1);
    recordFor(1);
    for (const auto& made : machine.assetWriters->writers) {
        for (const auto& input : made->inputs())
            EXPECT_TRUE(input->isMarkedAsFinished()) << made->outputURL().path();
        EXPECT_EQ(made->status(), AVAssetWriterStatus::completed);
    }
}

TEST_F(StopTakeTest, writersFinishOneAfterAnother) {
    selectMic();
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.finishSeconds = 1};
    };
    start();
    machine.run(1);
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->stopRecording()); });
    machine.run(1.5);
    EXPECT_EQ(writer("take_video.mov")->status(), AVAssetWriterStatus::completed);
    EXPECT_EQ(writer("take_mic.wav")->status(), AVAssetWriterStatus::writing);
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_EQ(writer("take_mic.wav")->status(), AVAssetWriterStatus::completed);
}

TEST_F(StopTakeTest, previewsGoOnAfterTheTake) {
    selectMic();
    recordFor(1);
    const auto session = machine.captureDevices->session("mic.one");
    ASSERT_TRUE(session);
    EXPECT_TRUE(session->isRunning());
    const auto delivered = session->deliveredBuffers;
    const size_t appended = soundTrack("take_mic.wav")->appends.size();
    machine.run(1);
    EXPECT_GT(session->deliveredBuffers, delivered);
    EXPECT_EQ(soundTrack("take_mic.wav")->appends.size(), appended);
}

TEST_F(StopTakeTest, aDelayedSampleAfterTheSinkIsEmptyIsLostOnPurpose) {
    // Frames that the stream had on their way when the stop came, and hands over late.
    machine.screenCapture->script.frames = [](int64_t index) {
        SimulatedFrame frame;
        frame.seconds = static_cast<double>(index) / 30;
        frame.deliveryDelay = 0.4;
        return std::optional(frame);
    };
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(StopTakeTest, theTimelineLiesBesideTheFiles) {
    machine.userDefaults->values["timelineEditor"] = std::string("finalCut");
    selectMic();
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    EXPECT_EQ(files(), (std::vector<std::string>{"take.fcpxml", "take_mic.wav", "take_video.mov"}));
    ASSERT_TRUE(recorder->lastTimelineURL().has_value());
    const std::string text = *machine.fileManager->contents(path("take.fcpxml"));
    EXPECT_NE(text.find("take_mic.wav"), std::string::npos);
    EXPECT_NE(text.find("take_video.mov"), std::string::npos);
}

TEST_F(StopTakeTest, aTimelineThatCantBeSavedIsAWarningAlone) {
    machine.userDefaults->values["timelineEditor"] = std::string("premiere");
    machine.fileManager->disk->fails = [](SimulatedFileOperation operation, const std::string& at) {
        return operation == SimulatedFileOperation::writeAtomically && at.ends_with(".xml");
    };
    selectMic();
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_TRUE(lastError().starts_with("The timeline file for Premiere couldn't be saved (")) << lastError();
    EXPECT_TRUE(lastError().ends_with("). Every track was.")) << lastError();
    const auto lines = machine.log->texts("timeline");
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines.back().starts_with("timeline file not written: ")) << lines.back();
}

TEST_F(StopTakeTest, withoutAnEditorNoTimelineIsTried) {
    recordFor(1);
    EXPECT_EQ(files(), (std::vector<std::string>{"take_video.mov"}));
    EXPECT_FALSE(recorder->lastTimelineURL().has_value());
}

TEST_F(StopTakeTest, theInventoryNamesWhatTheTakeEndedWith) {
    selectMic();
    addExtraInput("multi.eight", 6, "Left");
    recordFor(1);
    ASSERT_TRUE(recorder->lastTakeFiles().has_value());
    const TakeFiles& take = *recorder->lastTakeFiles();
    EXPECT_EQ(take.take, "take");
    EXPECT_EQ(take.folder.path(), kFolder);
    EXPECT_EQ(take.screen, videoURL());
    EXPECT_TRUE(take.cameras.empty());
    EXPECT_EQ(take.sounds,
              (std::vector<URL>{URL::fileURL(path("take_mic.wav")), URL::fileURL(path("take_Left.wav"))}));
    EXPECT_FALSE(take.cameraSound.has_value());
}

TEST_F(StopTakeTest, anHourAt30EndsOnTheGridWithoutDrift) {
    recorder->screenEnabled.set(true);
    machine.screenCapture->script.frames = [](int64_t index) -> std::optional<SimulatedFrame> {
        // A slide every ten seconds: all else are copies.
        return SimulatedFrame{.seconds = static_cast<double>(index) * 10,
                              .shade = static_cast<uint8_t>(index % 2)};
    };
    recordFor(3600);
    const CMTime begun = writer("take_video.mov")->sessionStart();
    const auto times = videoTrack()->presentationTimes();
    ASSERT_GE(times.size(), 107'990u);
    const CMTime phase = times.front() - begun;
    for (size_t i = 0; i < times.size(); ++i) {
        ASSERT_FALSE(times[i].hasBeenRounded());
        ASSERT_EQ(times[i], begun + phase + CMTimeMake(static_cast<int64_t>(i), 30)) << i;
    }
    EXPECT_EQ(CMTimeCompare(CMTimeConvertScale(phase, 600), phase), 0)
        << "the phase is a whole number of 1/600 s";
}

TEST_F(StopTakeTest, aStreamThatSendsNoPictureIsTold) {
    machine.screenCapture->script.frames = listedFrames({});
    recordFor(2);
    EXPECT_TRUE(lastError().starts_with("No video was captured from the screen — ")) << lastError();
    EXPECT_NE(*recorder->statusMessage, "Saved");
}

} // namespace
} // namespace vintra

#include "Vintra/video/ScreenTrack.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {
namespace {

/// A track of its own, with a movie whose session begins 1,000 s on the host clock.
class ScreenTrackTest : public testing::Test {
protected:
    void SetUp() override {
        track = ScreenTrack::make(machine.platform());
        track->onStreamStopped([this](const SystemError& error) {
            told.push_back(error.localizedDescription() +
                           (machine.mainThread->isAtWork() ? "" : " off the main thread"));
        });
        writer = std::static_pointer_cast<SimulatedAssetWriter>(machine.assetWriters->makeWriter(
            URL::fileURL("/tmp/take_video.mov"), AVFileType::quickTimeMovie));
        input = std::static_pointer_cast<SimulatedAssetWriterInput>(
            machine.assetWriters->makeInput(AVVideoSettings{.width = 64, .height = 32}, true));
        writer->add(input);
        writer->startWriting();
        writer->startSession(commonStart);
    }
    void TearDown() override { EXPECT_EQ(machine.violations->list, std::vector<std::string>{}); }

    void arm(int32_t frameRate = 30) {
        track->begin(commonStart);
        track->beginBeat(commonStart, {.writer = writer, .input = input, .frameRate = frameRate});
    }
    std::shared_ptr<SCStream> makeStream() {
        SCContentFilter filter;
        filter.content = SCContentFilter::Display{.display = {.displayID = 1, .width = 1440, .height = 900},
                                                  .excludingApplications = {},
                                                  .exceptingWindows = {}};
        SCStreamConfiguration configuration;
        configuration.width = 64;
        configuration.height = 32;
        configuration.minimumFrameInterval = CMTimeMake(1, 30);
        configuration.pixelFormat = kCVPixelFormatType_32BGRA;
        configuration.queueDepth = 8;
        return track->makeStream(filter, configuration);
    }
    CMSampleBuffer frame(double seconds, std::optional<int64_t> status, bool hasAttachments = true) {
        std::vector<CMSampleAttachments> attachments;
        if (hasAttachments) attachments.emplace_back();
        if (status) attachments.front()[SCStreamFrameInfoStatus] = *status;
        return CMSampleBuffer::makeVideo(
            CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 64, 32),
            {CMTimeMake(1, 30), commonStart + CMTimeMakeWithSeconds(seconds, kHostTimescale), kCMTimeInvalid},
            std::move(attachments));
    }
    /// Hands a sample over as a stream does.
    void deliver(SCStream& from, const CMSampleBuffer& sample,
                 SCStreamOutputType type = SCStreamOutputType::screen) {
        track->queue()->sync([&] { track->stream(from, sample, type); });
    }
    /// The slots of a 30 fps grid without a phase that were written.
    std::vector<double> writtenSlots() const {
        std::vector<double> slots;
        for (const CMTime time : input->presentationTimes())
            slots.push_back(CMTimeGetSeconds(time - commonStart) * 30);
        return slots;
    }
    static constexpr auto kComplete = static_cast<int64_t>(SCFrameStatus::complete);

    SimulatedMachine machine;
    const CMTime commonStart = machine.now();
    std::shared_ptr<ScreenTrack> track;
    std::shared_ptr<SimulatedAssetWriter> writer;
    std::shared_ptr<SimulatedAssetWriterInput> input;
    std::vector<std::string> told;
};

TEST_F(ScreenTrackTest, framesReachTheMovieFromTheOpeningToTheClosing) {
    const auto stream = makeStream();
    deliver(*stream, frame(0, kComplete)); // before the arming: nothing may come of it
    arm();
    deliver(*stream, frame(0, kComplete)); // and before the opening
    EXPECT_TRUE(input->appends.empty());
    track->open(input);
    deliver(*stream, frame(0, kComplete));
    EXPECT_EQ(writtenSlots(), std::vector<double>{0});
    track->close();
    deliver(*stream, frame(1.0 / 30, kComplete));
    EXPECT_EQ(writtenSlots(), std::vector<double>{0});
}

TEST_F(ScreenTrackTest, onlyCompleteFramesOfTheScreenArePictures) {
    const auto stream = makeStream();
    arm();
    track->open(input);
    for (const auto status : {SCFrameStatus::idle, SCFrameStatus::blank, SCFrameStatus::suspended,
                              SCFrameStatus::started, SCFrameStatus::stopped})
        deliver(*stream, frame(0, static_cast<int64_t>(status)));
    deliver(*stream, frame(0, std::nullopt));
    deliver(*stream, frame(0, std::nullopt, false));
    deliver(*stream, CMSampleBuffer{});
    EXPECT_TRUE(input->appends.empty());
    deliver(*stream, frame(0, kComplete));
    EXPECT_EQ(input->appends.size(), 1u);
}

TEST_F(ScreenTrackTest, aStreamsFramesComeOnTheTracksQueue) {
    const auto stream = makeStream();
    arm();
    track->open(input);
    EXPECT_FALSE(machine.complete(track->start(stream)).has_value());
    machine.run(1);
    machine.complete(track->stop(stream));
    track->close();
    EXPECT_GE(input->accepted().size(), 28u);
    EXPECT_EQ(track->queue()->label(), "com.screenrecorder.videoOutput");
    EXPECT_EQ(track->lostFrames(), 0);
}

TEST_F(ScreenTrackTest, aStartEndsWithTheErrorOfItsCapture) {
    machine.screenCapture->script.startError = SystemError("test", 1, "The capture didn't start.");
    const auto error = machine.complete(track->start(makeStream()));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->localizedDescription(), "The capture didn't start.");
}

TEST_F(ScreenTrackTest, aStreamThatTakesNoOutputIsNone) {
    machine.screenCapture->script.addOutputError = SystemError("test", 2, "No output can be added.");
    EXPECT_THROW(makeStream(), SystemError);
}

TEST_F(ScreenTrackTest, onlyAStartThatWaitsIsCancelled) {
    track->cancelStart(); // there is none
    machine.screenCapture->script.startSeconds = 60;
    const auto waiting = makeStream();
    TaskScope scope;
    std::optional<SystemError> outcome;
    const auto start = [](ScreenTrack& of, std::shared_ptr<SCStream> stream,
                          std::optional<SystemError>& into) -> Task<> {
        into = co_await of.start(std::move(stream));
    };
    machine.mainThread->runNow([&] { scope.start(start(*track, waiting, outcome)); });
    machine.run(10);
    EXPECT_FALSE(scope.isIdle());
    machine.mainThread->runNow([&] { track->cancelStart(); });
    ASSERT_TRUE(machine.runMainUntil([&] { return scope.isIdle(); }));
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->localizedDescription(), "The stream was stopped.");

    machine.screenCapture->script.startSeconds = 0.05;
    const auto running = makeStream();
    EXPECT_FALSE(machine.complete(track->start(running)).has_value());
    track->cancelStart();
    machine.run(0.1);
    EXPECT_TRUE(machine.screenCapture->stream()->isRunning()) << "its start is over";
    machine.complete(track->stop(running));
}

TEST_F(ScreenTrackTest, aStreamThatDiesIsToldOnTheMainThread) {
    const auto stream = makeStream();
    machine.complete(track->start(stream));
    machine.screenCapture->stream()->die(SystemError("test", 3, "The display went away."));
    machine.run(0.1);
    EXPECT_EQ(told, std::vector<std::string>{"The display went away."});
}

TEST_F(ScreenTrackTest, aStreamThatOutlivesItsTrackReachesNobody) {
    const auto stream = makeStream();
    machine.complete(track->start(stream));
    track = nullptr;
    machine.run(0.2);
    machine.screenCapture->stream()->die(SystemError("test", 3, "The display went away."));
    machine.run(0.2);
    EXPECT_TRUE(told.empty());
}

TEST_F(ScreenTrackTest, lossesAreCountedAndTimedFromTheCommonStart) {
    const auto stream = makeStream();
    arm();
    track->open(input);
    deliver(*stream, frame(0, kComplete));
    writer->script.isNeverReady = true;
    machine.run(1);
    for (const double seconds : {0.5, 0.6, 0.7})
        deliver(*stream, frame(seconds, kComplete));
    // Of three that the writer doesn't take the beat holds the last.
    EXPECT_EQ(track->lostFrames(), 2);
    EXPECT_EQ(track->endDropTimes(), (std::vector<double>{0.5, 0.6}));
    EXPECT_TRUE(track->endDropTimes().empty()) << "they were taken";
    track->resetCounters();
    EXPECT_EQ(track->lostFrames(), 0);
}

TEST_F(ScreenTrackTest, aFrameThatTheWriterRefusesIsLostWithItsTime) {
    const auto stream = makeStream();
    arm(60); // without copies
    track->open(input);
    deliver(*stream, frame(0, kComplete));
    writer->script.refuses = [](const CMSampleBuffer&) { return true; };
    deliver(*stream, frame(0.5, kComplete));
    EXPECT_EQ(track->lostFrames(), 1);
    EXPECT_EQ(track->endDropTimes(), std::vector<double>{0.5});
}

TEST_F(ScreenTrackTest, aCallbackMayBeTheLastToHoldIt) {
    const auto stream = makeStream();
    arm();
    track->open(input);
    machine.complete(track->start(stream));
    machine.run(0.2);
    const auto output = machine.screenCapture->stream()->sampleOutput();
    const std::weak_ptr<ScreenTrack> watched = track;
    track.reset();
    EXPECT_FALSE(watched.expired());
    output->stream(*stream, frame(0.5, kComplete), SCStreamOutputType::screen);
    machine.run(0.2);
}

TEST_F(ScreenTrackTest, theEndOfTheLastSampleIsKnownOnce) {
    EXPECT_FALSE(track->endLastFrameTime());
    const auto stream = makeStream();
    arm();
    track->open(input);
    deliver(*stream, frame(0, kComplete));
    EXPECT_EQ(track->endLastFrameTime(), commonStart + CMTimeMake(1, 30));
    EXPECT_FALSE(track->endLastFrameTime());
}

TEST_F(ScreenTrackTest, theEndFillsTheMovieUpToTheStop) {
    const auto stream = makeStream();
    arm();
    track->open(input);
    deliver(*stream, frame(0, kComplete));
    machine.run(1.01);
    track->close();
    const auto totals = machine.complete(track->finish(commonStart + CMTimeMake(101, 100)));
    EXPECT_EQ(writtenSlots().back(), 30) << "the slot in which 1.01 s lies";
    EXPECT_EQ(totals.repeated, 30);
    EXPECT_EQ(totals.leftOut, 0);
}

TEST_F(ScreenTrackTest, aTakeThatNeverStartedWritesNothingMore) {
    const auto stream = makeStream();
    arm();
    track->open(input);
    deliver(*stream, frame(0, kComplete));
    track->cancel();
    const size_t written = input->appends.size();
    machine.run(2);
    deliver(*stream, frame(2, kComplete));
    EXPECT_EQ(input->appends.size(), written);
    EXPECT_EQ(track->lostFrames(), 0);
}

TEST_F(ScreenTrackTest, theLogKnowsTheWriterInThreeForms) {
    const auto lastWord = [this] {
        const auto lines = machine.log->texts("screen-beat");
        return lines.empty() ? "" : lines.back().substr(lines.back().rfind("; ") + 2);
    };
    const auto stream = makeStream();
    arm();
    track->open(input);
    deliver(*stream, frame(0, kComplete));
    machine.run(1.1);
    EXPECT_EQ(lastWord(), "writer status 1");
    writer->fail("The disk is full.");
    machine.run(1);
    EXPECT_EQ(lastWord(), "writer status 3 (The disk is full.)");
    machine.assetWriters->writers.clear();
    writer = nullptr;
    machine.run(1);
    EXPECT_EQ(lastWord(), "no writer");
}

} // namespace
} // namespace vintra

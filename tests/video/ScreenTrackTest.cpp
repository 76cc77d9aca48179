#include "Vintra/video/ScreenTrack.h"

#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {
namespace {

class ScreenTrackTest : public ::testing::Test {
protected:
    void SetUp() override {
        machine.screenCapture->script.frames = nullptr; // one a frame interval
        configuration.minimumFrameInterval = CMTimeMake(1, 30);
        configuration.width = 64;
        configuration.height = 64;
        machine.screenCapture->content.displays = {{.displayID = 1, .width = 64, .height = 64}};
        filter.content = SCContentFilter::Display{.display = machine.screenCapture->content.displays.front(),
                                                  .excludingApplications = {},
                                                  .exceptingWindows = {}};
        stream = track->makeStream(filter, configuration);
    }
    void arm(int32_t rate = 30) {
        track->begin(machine.now());
        track->beginBeat(machine.now(), {.writer = nullptr, .input = input, .frameRate = rate});
    }
    void startStream() {
        std::optional<SystemError> error;
        const auto starting = [&]() -> Task<> { error = co_await track->start(stream); };
        machine.complete(starting());
        ASSERT_FALSE(error);
    }
    ScreenBeat::Totals finish() {
        ScreenBeat::Totals totals;
        const auto finishing = [&]() -> Task<> { totals = co_await track->finish(machine.now()); };
        machine.complete(finishing());
        return totals;
    }

    SimulatedMachine machine;
    std::vector<std::string> stopped;
    std::shared_ptr<ScreenTrack> track =
        ScreenTrack::make(machine.platform(), [this](const SystemError& error) {
            EXPECT_TRUE(machine.mainThread->isCurrent());
            stopped.push_back(error.localizedDescription());
        });
    SCContentFilter filter;
    SCStreamConfiguration configuration;
    std::shared_ptr<SCStream> stream;
    const std::shared_ptr<ScriptedInput> input = std::make_shared<ScriptedInput>();
};

TEST_F(ScreenTrackTest, framesAreThrownAwayUntilItOpensAndAfterItCloses) {
    arm();
    startStream();
    machine.run(0.5);
    EXPECT_TRUE(input->appended.empty());
    track->open(input);
    machine.run(0.5);
    const size_t written = input->appended.size();
    EXPECT_GE(written, 10u);
    track->close();
    machine.run(0.1); // copies go on until the beat is finished; new pictures don't come
    const auto last = input->appended.back().imageBuffer();
    machine.run(0.5);
    EXPECT_EQ(input->appended.back().imageBuffer(), last);
}

TEST_F(ScreenTrackTest, whatTheWriterRefusesIsCountedWithItsTime) {
    arm(60);
    track->open(input);
    startStream();
    machine.run(0.5);
    input->accepts = [](const CMSampleBuffer&) { return false; };
    machine.run(1);
    EXPECT_GT(track->lostFrames(), 0);
    const auto times = track->takeDropTimes();
    EXPECT_EQ(static_cast<int64_t>(times.size()), track->lostFrames());
    for (const double time : times)
        EXPECT_GE(time, 0.4);
    EXPECT_TRUE(track->takeDropTimes().empty()) << "told once";
    track->resetCounters();
    EXPECT_EQ(track->lostFrames(), 0);
}

TEST_F(ScreenTrackTest, theEndOfTheLastSampleIsToldOnce) {
    EXPECT_EQ(track->takeLastFrameTime(), std::nullopt);
    arm();
    track->open(input);
    startStream();
    machine.run(1);
    track->close();
    finish();
    const CMSampleBuffer last = input->appended.back();
    EXPECT_EQ(track->takeLastFrameTime(), last.presentationTimeStamp() + last.duration());
    EXPECT_EQ(track->takeLastFrameTime(), std::nullopt);
}

TEST_F(ScreenTrackTest, aStartThatWaitsCanBeCancelled) {
    machine.screenCapture->script.startSeconds = 2; // the user thinks about the question
    stream = track->makeStream(filter, configuration);
    std::optional<SystemError> error;
    const auto starting = [&]() -> Task<> { error = co_await track->start(stream); };
    TaskScope scope;
    scope.start(starting());
    machine.run(1);
    track->cancelStart();
    machine.run(1.1);
    EXPECT_TRUE(error) << "the start has ended, and not well";
    EXPECT_FALSE(machine.screenCapture->stream()->isRunning());
    track->cancelStart(); // nothing waits any more
}

TEST_F(ScreenTrackTest, aStreamThatDiesIsToldOnTheMainThread) {
    startStream();
    machine.screenCapture->stream()->die(SystemError("test", 5, "the display went away"));
    machine.run(0.1);
    EXPECT_EQ(stopped, std::vector<std::string>{"the display went away"});
}

TEST_F(ScreenTrackTest, aCallbackMayBeTheLastToHoldIt) {
    arm();
    track->open(input);
    startStream();
    machine.run(0.2);
    const auto output = machine.screenCapture->stream()->sampleOutput();
    const std::weak_ptr<ScreenTrack> watched = track;
    track.reset();
    EXPECT_FALSE(watched.expired());
    output->stream(*stream, picture(machine.now()), SCStreamOutputType::screen);
    machine.run(0.2);
}

} // namespace
} // namespace vintra

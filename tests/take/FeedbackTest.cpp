#include "Vintra/take/FeedbackAsk.h"
#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

/// Keeps what it is told, and what the recorder's state was at that moment.
class ToldOfTakes : public FeedbackAsk {
public:
    ToldOfTakes(const SimulatedMachine& machine, ScreenRecorderManager& recorder)
        : FeedbackAsk(machine.platform(), [](Answer, const std::string&) {})
        , recorder(recorder) {}
    void recordingStarted() override { told.push_back("started" + state()); }
    void takeFinished(double seconds, bool wentWrong) override {
        told.push_back("finished after " + std::to_string(static_cast<int>(seconds)) +
                       (wentWrong ? " badly" : " well") + state());
    }
    std::vector<std::string> told;

private:
    std::string state() const {
        return std::string(*recorder.isBusy ? ", busy" : "") + (*recorder.isRecording ? ", recording" : "") +
               ", " + *recorder.statusMessage;
    }
    ScreenRecorderManager& recorder;
};

class FeedbackTest : public RecorderFixture {
protected:
    void SetUp() override {
        RecorderFixture::SetUp();
        recorder->feedbackAsk = feedback = std::make_shared<ToldOfTakes>(machine, *recorder);
    }
    const std::vector<std::string>& told() const { return feedback->told; }
    std::shared_ptr<ToldOfTakes> feedback;
};

TEST_F(FeedbackTest, aTakeIsToldAtItsStartAndAfterItsReport) {
    recordFor(12.5);
    EXPECT_EQ(told(),
              (std::vector<std::string>{"started, busy, Ready", "finished after 12 well, busy, Saved"}));
}

TEST_F(FeedbackTest, aTakeWithWarningsWentWrong) {
    machine.audioHardware->device("mic.one")->isSilent = true;
    selectMic();
    recordFor(2);
    EXPECT_EQ(told().back(), "finished after 2 badly, busy, Saved with warnings");
}

TEST_F(FeedbackTest, aTakeThatCouldNotBeSavedWentWrong) {
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.finishFails = true};
    };
    recordFor(2);
    EXPECT_EQ(told().back(), "finished after 2 badly, busy, Save failed");
}

TEST_F(FeedbackTest, hiddenWarningsAreNothingWrong) {
    machine.userDefaults->values["hideTakeWarnings"] = true;
    machine.audioHardware->device("mic.one")->isSilent = true;
    selectMic();
    recordFor(2);
    EXPECT_EQ(told().back(), "finished after 2 well, busy, Saved");
}

TEST_F(FeedbackTest, whatTheUserWasToldInTheMiddleCountsEvenWithHiddenWarnings) {
    machine.userDefaults->values["hideTakeWarnings"] = true;
    selectMic();
    start();
    machine.audioHardware->unplug("mic.one");
    machine.run(3);
    stop();
    EXPECT_EQ(told().back(), "finished after 3 badly, busy, Saved");
}

TEST_F(FeedbackTest, theLengthIsToThePressOfTheButton) {
    machine.screenCapture->script.stopSeconds = 5;
    recordFor(2.5);
    EXPECT_EQ(told().back(), "finished after 2 well, busy, Saved");
}

TEST_F(FeedbackTest, aFailedStartIsToldToHaveBegunAndNeverToHaveFinished) {
    machine.screenCapture->content.displays.clear();
    start();
    EXPECT_EQ(told(), (std::vector<std::string>{"started, busy, Ready"}));
}

TEST_F(FeedbackTest, pressesThatDoNothingAreNotTold) {
    stop();
    EXPECT_TRUE(told().empty());
    start();
    start();
    EXPECT_EQ(told().size(), 1u);
    stop();
    stop();
    EXPECT_EQ(told().size(), 2u);
}

TEST_F(FeedbackTest, aListenerThatHasGoneIsNoTrouble) {
    feedback.reset();
    recordFor(1);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

} // namespace
} // namespace vintra

#include "Vintra/app/ProgramCommands.h"

#include "tests/app/AppFixture.h"

#include <optional>

namespace vintra {
namespace {

class ProgramCommandsTest : public AppFixture {
protected:
    void SetUp() override {
        AppFixture::SetUp();
        commands = std::make_unique<ProgramCommands>(surroundings(), view->take, [this] { ++quits; });
    }
    void TearDown() override {
        commands.reset();
        AppFixture::TearDown();
    }
    /// Gives the command, without waiting for its answer.
    void give(ProgramCommand command) {
        outcome = std::nullopt;
        commands->carryOut(command, [this](const CommandOutcome& told) {
            EXPECT_FALSE(outcome) << "answered twice";
            outcome = told;
        });
    }
    CommandOutcome outcomeOf(ProgramCommand command) {
        give(command);
        machine.runMainUntil([this] { return outcome.has_value(); });
        machine.run(1);
        return outcome.value_or(CommandOutcome{false, "no answer"});
    }

    std::unique_ptr<ProgramCommands> commands;
    std::optional<CommandOutcome> outcome;
    int quits = 0;
};

TEST_F(ProgramCommandsTest, aStartIsAnsweredOnceTheTakeRuns) {
    view->outputSection.setSessionName("typed");
    give(ProgramCommand::start);
    EXPECT_FALSE(outcome);
    ASSERT_TRUE(machine.runMainUntil([this] { return outcome.has_value(); }));
    EXPECT_TRUE(outcome->isDone) << outcome->sentence;
    EXPECT_EQ(outcome->sentence, "Recording.");
    EXPECT_TRUE(*recorder->isRecording);
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_NE(writer("typed_video.mov"), nullptr);
    outcomeOf(ProgramCommand::stop);
}

TEST_F(ProgramCommandsTest, aSecondStartIsRefused) {
    outcomeOf(ProgramCommand::start);
    const CommandOutcome second = outcomeOf(ProgramCommand::start);
    EXPECT_FALSE(second.isDone);
    EXPECT_EQ(second.sentence, "A recording is running already.");
    EXPECT_TRUE(*recorder->isRecording);
    outcomeOf(ProgramCommand::stop);
}

TEST_F(ProgramCommandsTest, whileAStartIsUnderWayBothAreRefused) {
    view->toggleRecording();
    ASSERT_TRUE(*recorder->isBusy);
    for (const ProgramCommand command :
         {ProgramCommand::start, ProgramCommand::stop, ProgramCommand::toggle}) {
        give(command);
        ASSERT_TRUE(outcome);
        EXPECT_FALSE(outcome->isDone);
        EXPECT_EQ(outcome->sentence, "Vintra is starting or saving a recording. Try again in a moment.");
    }
    machine.run(1);
    EXPECT_TRUE(*recorder->isRecording);
    outcomeOf(ProgramCommand::stop);
}

TEST_F(ProgramCommandsTest, aStartThatFailsSaysWhy) {
    machine.screenCapture->content.displays.clear();
    const CommandOutcome told = outcomeOf(ProgramCommand::start);
    EXPECT_FALSE(told.isDone);
    EXPECT_EQ(told.sentence, "The recording couldn't be started: No display available to capture.");
}

TEST_F(ProgramCommandsTest, aStopIsAnsweredOnceTheFilesAreWhole) {
    view->outputSection.setSessionName("kept");
    outcomeOf(ProgramCommand::start);
    machine.run(2);
    give(ProgramCommand::stop);
    EXPECT_FALSE(outcome);
    ASSERT_TRUE(machine.runMainUntil([this] { return outcome.has_value(); }));
    EXPECT_TRUE(outcome->isDone);
    EXPECT_EQ(outcome->sentence.find("Saved"), 0u) << outcome->sentence;
    EXPECT_EQ(writer("kept_video.mov")->status(), AVAssetWriterStatus::completed);
}

TEST_F(ProgramCommandsTest, aStopThatIsUnderWayIsWaitedFor) {
    outcomeOf(ProgramCommand::start);
    view->toggleRecording();
    ASSERT_TRUE(*recorder->isBusy);
    give(ProgramCommand::stop);
    EXPECT_FALSE(outcome);
    ASSERT_TRUE(machine.runMainUntil([this] { return outcome.has_value(); }));
    EXPECT_TRUE(outcome->isDone);
    EXPECT_EQ(outcome->sentence.find("Saved"), 0u) << outcome->sentence;
}

TEST_F(ProgramCommandsTest, withoutATakeThereIsNothingToStopOrMark) {
    EXPECT_EQ(outcomeOf(ProgramCommand::stop).sentence, "There is no recording to stop.");
    EXPECT_FALSE(outcome->isDone);
    EXPECT_EQ(outcomeOf(ProgramCommand::marker).sentence, "There is no recording to set a marker in.");
    EXPECT_FALSE(outcome->isDone);
}

TEST_F(ProgramCommandsTest, toggleStartsAndStops) {
    EXPECT_EQ(outcomeOf(ProgramCommand::toggle).sentence, "Recording.");
    EXPECT_TRUE(*recorder->isRecording);
    EXPECT_EQ(outcomeOf(ProgramCommand::toggle).sentence.find("Saved"), 0u) << outcome->sentence;
    EXPECT_FALSE(*recorder->isRecording);
}

TEST_F(ProgramCommandsTest, markersAreCounted) {
    outcomeOf(ProgramCommand::start);
    EXPECT_EQ(outcomeOf(ProgramCommand::marker).sentence, "Marker 1 is set.");
    EXPECT_EQ(outcomeOf(ProgramCommand::marker).sentence, "Marker 2 is set.");
    EXPECT_EQ(*recorder->markerCount, 2);
    outcomeOf(ProgramCommand::stop);
}

TEST_F(ProgramCommandsTest, aMissingFolderIsSaid) {
    machine.userDefaults->set("outputFolderPath", "/nowhere/at/all");
    commands.reset();
    openWindow();
    commands = std::make_unique<ProgramCommands>(surroundings(), view->take, [] {});
    machine.settle();
    const CommandOutcome told = outcomeOf(ProgramCommand::start);
    EXPECT_FALSE(told.isDone);
    EXPECT_EQ(told.sentence, "The folder for recordings is missing. Choose another one in Vintra's window.");
}

TEST_F(ProgramCommandsTest, quitIsAnsweredBeforeTheEnd) {
    give(ProgramCommand::quit);
    EXPECT_TRUE(outcome && outcome->isDone);
    EXPECT_EQ(quits, 1);
}

} // namespace
} // namespace vintra

#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

/// Stops of takes whose disk hangs.
class FinishWatchTest : public RecorderFixture {
protected:
    /// Every file of the take needs so long to be finished; below 0: for ever.
    void takeWithDisk(double seconds) {
        machine.assetWriters->script = [seconds](const URL&, AVFileType) {
            SimulatedWriterScript script;
            script.finishNeverEnds = seconds < 0;
            script.finishSeconds = std::max(seconds, 0.0);
            return script;
        };
        selectMic();
        start();
        ASSERT_TRUE(*recorder->isRecording) << lastError();
        machine.run(1);
        stopping.start(recorder->stopRecording());
    }

    TaskScope stopping;
};

TEST_F(FinishWatchTest, aDiskThatSleepsIsToldAndWaitedFor) {
    takeWithDisk(20);
    machine.run(4);
    EXPECT_NE(*recorder->statusMessage, "Waiting for the disk to take the rest of take_video.mov…");
    machine.run(2);
    EXPECT_EQ(*recorder->statusMessage, "Waiting for the disk to take the rest of take_video.mov…");
    EXPECT_TRUE(*recorder->isRecording);
    machine.run(60);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_EQ(writer("take_video.mov")->status(), AVAssetWriterStatus::completed);
}

TEST_F(FinishWatchTest, aFileThatIsGivenUpIsToldAndTheTakeEnds) {
    takeWithDisk(-1);
    machine.run(1);
    recorder->giveUpWaitingForDisk(); // too early: the user was told nothing
    machine.run(1);
    EXPECT_TRUE(*recorder->isBusy);
    machine.run(5);
    recorder->giveUpWaitingForDisk();
    machine.run(1);
    EXPECT_TRUE(*recorder->isBusy) << "the next file has its time";
    machine.run(6);
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_EQ(*recorder->statusMessage, "Save failed");
    EXPECT_EQ(lastError(),
              "Some tracks failed to save: screen recording (its disk doesn't answer); mic track "
              "(its disk doesn't answer)");
}

} // namespace
} // namespace vintra

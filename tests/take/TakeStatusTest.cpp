#include "tests/take/RecorderFixture.h"
#include "tests/take/StateLog.h"

namespace vintra {
namespace {

class TakeStatusTest : public RecorderFixture {
protected:
    std::string statusOfATake() {
        start();
        const std::string status = *recorder->statusMessage;
        stop();
        for (const std::string& name : files())
            machine.fileManager->removeItem(URL::fileURL(path(name)));
        return status;
    }
};

TEST_F(TakeStatusTest, extraInputsAreCounted) {
    addExtraInput("multi.eight", 0);
    EXPECT_EQ(statusOfATake(), "Recording screen + 1 extra input…");
    addExtraInput("daw.two", 0);
    EXPECT_EQ(statusOfATake(), "Recording screen + 2 extra inputs…");
    addExtraInput("multi.eight", 1);
    EXPECT_EQ(statusOfATake(), "Recording screen + 3 extra inputs…");
    recorder->screenEnabled.set(false);
    EXPECT_EQ(statusOfATake(), "Recording 3 extra inputs…");
}

TEST_F(TakeStatusTest, soundFilesAreFinishedUnderThatWord) {
    selectMic();
    start();
    machine.run(1);
    const StateLog log(*recorder);
    stop();
    EXPECT_NE(std::ranges::find(log.lines, "status Finishing…"), log.lines.end());
}

TEST_F(TakeStatusTest, aTakeWithoutSoundHasNothingToFinish) {
    start();
    machine.run(1);
    const StateLog log(*recorder);
    stop();
    EXPECT_EQ(std::ranges::find(log.lines, "status Finishing…"), log.lines.end());
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(TakeStatusTest, aTrackWithoutABufferHasNothingToFinish) {
    machine.audioHardware->device("mic.one")->isSilent = true;
    selectMic();
    start();
    machine.run(1);
    const StateLog log(*recorder);
    stop();
    EXPECT_EQ(std::ranges::find(log.lines, "status Finishing…"), log.lines.end());
}

TEST_F(TakeStatusTest, markersBeginAnewWithEachTake) {
    recorder->markerCount.set(3);
    start();
    EXPECT_EQ(*recorder->markerCount, 0);
    stop();
    ASSERT_TRUE(recorder->lastTakeFiles());
    EXPECT_TRUE(recorder->lastTakeFiles()->markers.empty());
}

} // namespace
} // namespace vintra

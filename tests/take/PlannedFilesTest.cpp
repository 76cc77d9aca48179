#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

/// Which files a take would write, by what refuses it.
class PlannedFilesTest : public RecorderFixture {
protected:
    void SetUp() override {
        RecorderFixture::SetUp();
        selectMic();
        selectVirtualInput();
        addExtraInput("multi.eight", 0, "Left");
        addExtraInput("multi.eight", 4);
    }
    static std::string refusal(const std::string& names) {
        return "Output files already exist: " + names +
               ". Choose a different session name — recording over them would fail silently.";
    }
};

TEST_F(PlannedFilesTest, anyOneFileOfTheTakeThatExistsRefusesIt) {
    for (const std::string name : {"take_video.mov", "take_mic.wav", "take_computer-audio.wav",
                                   "take_Left.wav", "take_Stage Box_ch5.wav"}) {
        machine.fileManager->put(path(name), "an earlier take");
        start();
        EXPECT_EQ(lastError(), refusal(name));
        EXPECT_EQ(files(), std::vector<std::string>{name});
        EXPECT_EQ(machine.fileManager->contents(path(name)), "an earlier take");
        machine.fileManager->removeItem(URL::fileURL(path(name)));
    }
    start();
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    stop();
}

TEST_F(PlannedFilesTest, theyAreNamedInTheOrderOfPlanningAndAfterTheFourthCounted) {
    for (const char* name :
         {"take_Stage Box_ch5.wav", "take_Left.wav", "take_computer-audio.wav", "take_mic.wav"})
        machine.fileManager->put(path(name), "an earlier take");
    start();
    EXPECT_EQ(lastError(),
              refusal("take_mic.wav, take_computer-audio.wav, take_Left.wav, take_Stage Box_ch5.wav"));
    machine.fileManager->put(path("take_video.mov"), "an earlier take");
    start();
    EXPECT_EQ(lastError(), refusal("take_video.mov, take_mic.wav, take_computer-audio.wav, take_Left.wav "
                                   "(and 1 more)"));
}

TEST_F(PlannedFilesTest, aPlanBeginsAnewWithEachTake) {
    recordFor(0.5);
    machine.complete(recorder->startRecording(URL::fileURL(path("next_video.mov"))));
    EXPECT_TRUE(*recorder->isRecording)
        << "the files of the take before are none of this one's: " << lastError();
    EXPECT_TRUE(writer("next_mic.wav")) << "and its names are free again";
    EXPECT_TRUE(writer("next_computer-audio.wav"));
    stop();
}

TEST_F(PlannedFilesTest, aRefusedStartReservesNoName) {
    machine.fileManager->put(path("take_mic.wav"), "an earlier take");
    start();
    machine.fileManager->removeItem(URL::fileURL(path("take_mic.wav")));
    start();
    EXPECT_EQ(files(),
              (std::vector<std::string>{"take_Left.wav", "take_Stage Box_ch5.wav", "take_computer-audio.wav",
                                        "take_mic.wav", "take_video.mov"}));
    stop();
}

} // namespace
} // namespace vintra

// Where the computer's own sound goes in a take of it, and that the user's output comes back from every end.

#include "tests/programs/ComputerAudioFixture.h"
#include "tests/programs/NumberedSound.h"
#include "tests/programs/NumberedSoundAccount.h"

#include <algorithm>
#include <csignal>
#include <memory>

namespace vintra {
namespace {

class ComputerAudioRoutingTest : public ComputerAudioFixture {};

TEST_F(ComputerAudioRoutingTest, theOutputComesBackAtTheEndAndAtEverySignal) {
    EXPECT_EQ(runProgram(takeCommand({"--computer-audio", "--seconds", "1", "--name", "end"})).exitCode, 0);
    EXPECT_EQ(defaultOutput(), kOutput);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        ChildProcess take(takeCommand({"--computer-audio", "--name", "signal" + std::to_string(number)}));
        ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice));
        take.signal(number);
        const std::string text = take.restOfOutput();
        const int code = take.wait();
        EXPECT_TRUE(code == 0 || text.find("Interrupted") != std::string::npos) << code << text;
        EXPECT_EQ(defaultOutput(), kOutput) << number;
    }
}

TEST_F(ComputerAudioRoutingTest, theOutputComesBackWhenTheTakeIsRefused) {
    folder.write("refused_computer-audio.wav", "an earlier take");
    const ProgramRun run =
        runProgram(takeCommand({"--computer-audio", "--seconds", "1", "--name", "refused"}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(defaultOutput(), kOutput);
}

TEST_F(ComputerAudioRoutingTest, theOutputComesBackFromAStartThatCannotBe) {
    for (int time = 0; time < 2; ++time) {
        auto command = takeCommand({"--computer-audio"});
        command[2] = "/dev/null/x";
        EXPECT_EQ(runProgram(command).exitCode, 1);
        ASSERT_EQ(defaultOutput(), kOutput);
    }
}

TEST_F(ComputerAudioRoutingTest, theOutputComesBackFromAnInterruptAtAnyMomentOfTheStart) {
    for (int milliseconds = 90; milliseconds < 900; milliseconds += 90) {
        ChildProcess take(
            takeCommand({"--computer-audio", "--name", "early" + std::to_string(milliseconds)}));
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        take.signal(milliseconds % 180 == 0 ? SIGINT : SIGTERM);
        take.wait();
        ASSERT_EQ(defaultOutput(), kOutput) << "after " << milliseconds << " ms";
    }
}

/// With so few descriptors the program's connection to the sound server stops answering once the relay runs.
TEST_F(ComputerAudioRoutingTest, theOutputComesBackWhereTheDescriptorsDoNotSuffice) {
#ifdef VINTRA_SANITIZED
    GTEST_SKIP() << "a sanitizer needs descriptors of its own";
#endif
    std::vector<std::string> command{"sh", "-c", "ulimit -n 58; exec \"$@\"", "sh"};
    const auto recorder = takeCommand({"--computer-audio", "--seconds", "0.5", "--name", "few"});
    command.insert(command.end(), recorder.begin(), recorder.end());
    const ProgramRun run = runProgram(command);
    EXPECT_GE(run.exitCode, 0) << run.errors;
    EXPECT_EQ(defaultOutput(), kOutput);
}

TEST_F(ComputerAudioRoutingTest, anOutputThatIsChosenInATakeStaysAndIsToldOf) {
    {
        const SilentOutput chosen("vintra.test.chosen", 48'000);
        ASSERT_TRUE(chosen.awaitListed());
        ChildProcess take(takeCommand({"--computer-audio", "--name", "chosen"}));
        ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice));
        ASSERT_TRUE(awaitFileOf(folder.file("chosen_computer-audio.wav"), 1));
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        const Configured configured("vintra.test.chosen");
        ASSERT_TRUE(awaitDefaultOutput("vintra.test.chosen"));
        std::this_thread::sleep_for(std::chrono::milliseconds(2000));
        take.signal(SIGINT);
        const std::string text = take.restOfOutput();
        take.wait();
        EXPECT_EQ(defaultOutput(), "vintra.test.chosen");
        EXPECT_NE(text.find("mid-recording, so computer audio has stopped recording"), std::string::npos)
            << text;
    }
    EXPECT_TRUE(awaitDefaultOutput(kOutput));
}

TEST_F(ComputerAudioRoutingTest, anOutputThatIsPulledOutInATakeIsMadeUpFor) {
    auto pulled = std::make_unique<SilentOutput>("vintra.test.pulled", 48'000);
    ASSERT_TRUE(pulled->awaitListed());
    {
        const Configured configured("vintra.test.pulled");
        ASSERT_TRUE(awaitDefaultOutput("vintra.test.pulled"));
        ChildProcess take(takeCommand({"--computer-audio", "--name", "pulled"}));
        ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice));
        ASSERT_TRUE(awaitFileOf(folder.file("pulled_computer-audio.wav"), 1));
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        pulled.reset();
        std::this_thread::sleep_for(std::chrono::milliseconds(1000));
        ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice)) << "it is taken again";
        take.signal(SIGINT);
        const std::string text = take.restOfOutput();
        EXPECT_EQ(take.wait(), 0) << text;
        EXPECT_NE(text.find("You hear it on Headless Output"), std::string::npos) << text;
    }
    EXPECT_TRUE(awaitDefaultOutput(kOutput));
}

TEST_F(ComputerAudioRoutingTest, theVolumeKeysActOnWhatIsHeardAndNotOnWhatIsRecorded) {
    const URL played = NumberedSound::write(folder, "played.wav", kRate);
    const URL heard = folder.file("heard.raw");
    ChildProcess take(takeCommand({"--computer-audio", "--name", "muted"}));
    ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice));
    ASSERT_TRUE(awaitFileOf(folder.file("muted_computer-audio.wav"), 1));
    const auto turn = [](const std::string& props) {
        runProgram({"pw-cli", "set-param", kVirtualDevice, "Props", props});
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    };
    turn("{ mute: true }");
    {
        ChildProcess listener({"pw-record", "--target", kOutput, "-P", "{ stream.capture.sink=true }",
                               "--format", "f32", heard.path()});
        ASSERT_TRUE(awaitFileOf(heard, 1));
        EXPECT_EQ(runProgram({"pw-play", played.path()}).exitCode, 0);
        listener.signal(SIGINT);
        listener.wait();
    }
    turn("{ mute: false }");
    take.signal(SIGINT);
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 0) << text;
    const auto samples = floatsOf(heard.path());
    ASSERT_GT(samples.size(), static_cast<size_t>(kRate / 2));
    EXPECT_TRUE(std::ranges::all_of(samples, [](float sample) { return sample == 0; }));
    const NumberedSoundAccount inTake = accountOf(recorded("muted"));
    EXPECT_GT(inTake.played, kRate / 2);
    EXPECT_EQ(inTake.altered, 0);
}

TEST_F(ComputerAudioRoutingTest, anEqualiserThatFollowsTheOutputMakesNoFeedback) {
    ChildProcess equaliser(
        {"pw-loopback", "-n", "vintra.test", "--capture-props",
         "media.class=Audio/Sink session.suspend-timeout-seconds=0 node.name=vintra.test.equaliser",
         "--playback-props", "node.name=vintra.test.equaliser.output"});
    bool isListed = false;
    for (int look = 0; look < 100 && !isListed; ++look)
        isListed =
            runProgram({VINTRA_BIN_DIR "/vintra-take", "--list"}).output.find("vintra.test.equaliser") !=
            std::string::npos;
    ASSERT_TRUE(isListed);
    {
        const Configured configured("vintra.test.equaliser");
        ASSERT_TRUE(awaitDefaultOutput("vintra.test.equaliser"));
        const URL played = NumberedSound::write(folder, "played.wav", kRate);
        ChildProcess take(takeCommand({"--computer-audio", "--name", "equalised"}));
        ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice));
        ASSERT_TRUE(awaitFileOf(folder.file("equalised_computer-audio.wav"), 1));
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        EXPECT_EQ(runProgram({"pw-play", played.path()}).exitCode, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        take.signal(SIGINT);
        const std::string text = take.restOfOutput();
        EXPECT_EQ(take.wait(), 0) << text;
        EXPECT_NE(text.find("out to Headless Output"), std::string::npos) << text;
        EXPECT_EQ(defaultOutput(), "vintra.test.equaliser");
        const RecordedWav wav = recorded("equalised");
        int64_t loud = 0;
        for (int64_t frame = 0; frame < wav.frames(); ++frame)
            loud += wav.at(frame, 0) != 0;
        EXPECT_LE(loud, kRate) << "it goes round";
        EXPECT_GT(loud, kRate / 2);
    }
    equaliser.stop();
    EXPECT_TRUE(awaitDefaultOutput(kOutput));
}

TEST_F(ComputerAudioRoutingTest, afterAKillTheNextStartPutsTheOutputBackAndSaysSo) {
    ChildProcess take(takeCommand({"--computer-audio", "--name", "killed"}));
    ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice));
    take.kill();
    take.wait();
    EXPECT_EQ(defaultOutput(), kVirtualDevice) << "a killed program puts nothing back";
    const ProgramRun next = runProgram({VINTRA_BIN_DIR "/vintra-take", "--list"});
    EXPECT_EQ(next.exitCode, 0);
    EXPECT_NE(next.errors.find("Vintra didn't shut down cleanly last time and left your sound going nowhere. "
                               "Your output is back on Headless Output."),
              std::string::npos)
        << next.errors;
    EXPECT_EQ(defaultOutput(), kOutput);
    const ProgramRun after = runProgram({VINTRA_BIN_DIR "/vintra-take", "--list"});
    EXPECT_EQ(after.errors.find("shut down"), std::string::npos) << after.errors;
}

TEST_F(ComputerAudioRoutingTest, anotherRunLeavesTheRoutingOfThisOneAlone) {
    ChildProcess take(takeCommand({"--computer-audio", "--name", "first"}));
    ASSERT_TRUE(awaitDefaultOutput(kVirtualDevice));
    EXPECT_EQ(runProgram({VINTRA_BIN_DIR "/vintra-take", "--list"}).errors, "");
    EXPECT_EQ(defaultOutput(), kVirtualDevice);
    const ProgramRun second =
        runProgram(takeCommand({"--computer-audio", "--seconds", "1", "--name", "second"}));
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_NE(second.output.find("Another vintra-take records the computer's own sound"), std::string::npos)
        << second.output;
    EXPECT_EQ(defaultOutput(), kVirtualDevice);
    take.signal(SIGTERM);
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 0) << text;
}

} // namespace
} // namespace vintra

// Whole takes in the window, of the real screen, microphone, camera and sound server.

#include "tests/app/qt/RealProgramFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/PublishedMicrophone.h"

#include <filesystem>

namespace vintra {
namespace {

class RealTakeTest : public RealProgramFixture {};

/// Five clicks: three arm what the screen's row doesn't, one starts, one stops. Its name is typed meanwhile.
TEST_F(RealTakeTest, fiveClicksRecordScreenCameraMicrophoneAndWhatTheComputerPlays) {
    click("Microphone");
    click("Webcam");
    click("Computer audio");
    EXPECT_TRUE(shown("4 armed"));
    EXPECT_TRUE(shown("Routing your audio through Vintra · you're hearing it via Headless Output"));
    ASSERT_TRUE(hand.until([&] { return preview() != nullptr; }));
    preview()->setPosition(1000, 100);
    EXPECT_TRUE(hand.until([&] { return contrast(preview()->grabWindow()) > 100; }))
        << "no picture in the preview";
    hand.picture(*preview(), "real-preview");
    hand.focus(window(), "Session name");
    hand.key("a", true);
    hand.type("interview");
    click("Start Recording");
    ASSERT_TRUE(shown("0:01"));
    // The computer plays 1 kHz.
    const URL tone = folder.file("tone.wav");
    ASSERT_EQ(runProgram({"sox", "-n", "-r", "48000", "-c", "2", tone.path(), "synth", "10", "sine", "1000",
                          "gain", "-6"})
                  .exitCode,
              0);
    const ChildProcess player({"pw-play", tone.path()});
    EXPECT_TRUE(hand.until([&] { return program->recorder().levels->level(LevelKey::daw()) > 0.7f; }));
    EXPECT_TRUE(shown("0:04"));
    hand.picture(window(), "real-recording");
    click("Stop Recording");
    EXPECT_TRUE(shown("Start Recording"));
    EXPECT_TRUE(hand.until([&] { return program->recorder().statusMessage->starts_with("Saved"); }))
        << *program->recorder().statusMessage << ": " << program->recorder().lastError->value_or("");
    hand.picture(window(), "real-saved");
    for (const char* name : {"interview_video.mov", "interview_webcam.mov"}) {
        const MediaProbe movie(folder.file(name));
        EXPECT_GE(movie.duration(), 3.5) << name;
    }
    // The session's microphone plays at -12 dBFS from the start on, the computer at -6 dBFS for a while, of which its
    // track leaves out 6 dB more.
    EXPECT_GT(loudSeconds("interview_mic.wav", 1, 0.2), 2.5);
    EXPECT_GT(loudSeconds("interview_computer-audio.wav", 2, 0.2), 1);
    EXPECT_TRUE(std::filesystem::exists(folder.file("interview.otio").path()));
    click("Computer audio");
    EXPECT_TRUE(hand.until([&] { return !*program->recorder().isHoldingAudioRouting; }));
}

TEST_F(RealTakeTest, aMicrophonePulledOutInATakeIsToldOfInTheWindow) {
    PublishedMicrophone microphone("vintra.test.window.microphone", {"--description", "Loose Plug"});
    ASSERT_TRUE(microphone.isPublished());
    click("Microphone, device");
    EXPECT_TRUE(shown("Loose Plug"));
    click("Loose Plug");
    ASSERT_TRUE(hand.until([&] { return program->recorder().levels->level(LevelKey::mic()) > 0; }));
    click("Start Recording");
    ASSERT_TRUE(shown("0:01"));
    microphone.unplug();
    EXPECT_TRUE(
        shown("Your microphone has stopped recording — everything from this point is missing from the mic "
              "track. Stop and start a new recording; the other tracks are unaffected."));
    hand.picture(window(), "real-microphone-unplugged");
    click("Stop Recording");
    EXPECT_TRUE(shown("Start Recording"));
    EXPECT_TRUE(shown("Unavailable device"));
}

TEST_F(RealTakeTest, aFolderThatTakesNothingAndANameThatIsTooLongAreSaidAndTheNextTakeIsFine) {
    const auto isSaid = [this](const std::string& words) {
        return hand.until([&] {
            const std::string error = program->recorder().lastError->value_or("");
            return !*program->recorder().isBusy && error.find(words) != std::string::npos &&
                   shows(window(), QString::fromStdString(error));
        });
    };
    choose(URL::fileURL("/sys/kernel"));
    click("Start Recording");
    EXPECT_TRUE(isSaid("“/sys/kernel”")) << program->recorder().lastError->value_or("");
    EXPECT_TRUE(shown("Failed to start"));
    hand.picture(window(), "real-read-only");
    choose(folder.url());
    program->contentView().take.sessionName.set(std::string(300, 'n'));
    click("Start Recording");
    EXPECT_TRUE(isSaid("is too long. Choose a shorter one.")) << program->recorder().lastError->value_or("");
    hand.picture(window(), "real-long-name");
    click("Session name");
    hand.key("a", true);
    hand.type("after");
    click("Start Recording");
    EXPECT_TRUE(shown("0:01"));
    click("Stop Recording");
    EXPECT_TRUE(shown("Saved"));
    EXPECT_TRUE(std::filesystem::exists(folder.file("after_video.mov").path()));
}

} // namespace
} // namespace vintra

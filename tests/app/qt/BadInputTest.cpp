// What is missing or wrong is said in the window, which goes on.

#include "tests/app/qt/ProgramFixture.h"

#include <QGuiApplication>
#include <QScreen>

namespace vintra {
namespace {

class BadInputTest : public ProgramFixture {
protected:
    bool isOn(const QString& name) {
        const QQuickItem* const found = control(window(), name);
        return found && found->isEnabled();
    }
    void startAndStop() {
        click("Start Recording");
        ASSERT_TRUE(hand.until([&] { return isRecording(); }))
            << *live().statusMessage << ": " << live().lastError->value_or("");
        hand.moments(20);
        click("Stop Recording");
        EXPECT_TRUE(shown("Start Recording"));
    }
};

/// Neither cameras nor microphones, and no display.
class NothingToRecordTest : public BadInputTest {
protected:
    void prepare() override { machine.screenCapture->content.displays.clear(); }
    void SetUp() override {
        BadInputTest::SetUp();
        for (const char* uid : {"mic.one", "daw.two", "multi.eight"})
            machine.audioHardware->unplug(uid);
        hand.moments(10);
    }
};

TEST_F(NothingToRecordTest, whatIsntThereIsSaidAndCantBeArmed) {
    EXPECT_TRUE(shown("No camera connected"));
    EXPECT_TRUE(shown("No microphone connected"));
    EXPECT_TRUE(shown("No display"));
    EXPECT_FALSE(isOn("Webcam"));
    EXPECT_TRUE(hand.until([&] { return !isOn("Microphone"); }));
    hand.picture(window(), "bad-nothing-there");
    // A start says why there is none; what is plugged in meanwhile can be armed.
    click("Start Recording");
    EXPECT_TRUE(shown("Failed to start"));
    EXPECT_TRUE(shown("No display available to capture."));
    hand.picture(window(), "bad-no-display");
    machine.audioHardware->plug("mic.new", "Late Microphone", 1);
    EXPECT_TRUE(hand.until([&] { return isOn("Microphone"); }));
    click("Microphone");
    EXPECT_TRUE(hand.until([&] { return *live().selectedMicDeviceID == "mic.new"; }));
    click("Screen");
    EXPECT_TRUE(hand.until([&] { return !*live().screenEnabled; }));
    startAndStop();
    EXPECT_TRUE(gone("No display available to capture."));
}

class NoDriverTest : public BadInputTest {
protected:
    void prepare() override { hardware.unplug(virtualDevice->uid); }
};

TEST_F(NoDriverTest, theMissingDriverIsSaidAndTheOtherTracksAreRecorded) {
    EXPECT_TRUE(shown("Vintra Audio not installed"));
    EXPECT_TRUE(shown("Vintra's audio driver isn't installed, so your computer's audio can't be recorded."));
    EXPECT_FALSE(isOn("Computer audio"));
    hand.picture(window(), "bad-no-driver");
    click("Microphone");
    startAndStop();
    EXPECT_TRUE(live().statusMessage->starts_with("Saved")) << *live().statusMessage;
}

TEST_F(BadInputTest, aRoutingThatFailsIsSaid) {
    speakers->refusesIOProc = true;
    virtualDevice->refusesIOProc = true;
    click("Computer audio");
    EXPECT_TRUE(
        shown("Couldn't route your computer's audio through Vintra, so it won't be recorded. Check your "
              "output device's sample rate is 44.1kHz or 48kHz."));
    hand.picture(window(), "bad-routing");
}

TEST_F(BadInputTest, slashesAndDotsInANameMakeNoFolders) {
    click("Session name");
    hand.key("a", true);
    for (int n = 0; n < 3; ++n)
        hand.key("slash");
    hand.type("up");
    hand.key("slash");
    EXPECT_TRUE(hand.until([&] { return *program->contentView().take.sessionName == "///up/"; }));
    startAndStop();
    EXPECT_TRUE(machine.fileManager->fileExists(URL::fileURL(path("---up-_video.mov"))));
}

TEST_F(BadInputTest, aCameraPulledOutInATakeIsToldOfInTheWindow) {
    const auto camera = plugCamera("cam.one", "Desk Camera");
    click("Webcam");
    ASSERT_TRUE(hand.until([&] { return *live().selectedCameraDeviceID == "cam.one"; }));
    hand.moments(20);
    click("Start Recording");
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    hand.moments(50);
    machine.cameras->unplug("cam.one");
    EXPECT_TRUE(hand.until([&] {
        const std::string error = live().lastError->value_or("");
        return !error.empty() && shows(window(), QString::fromStdString(error));
    }));
    EXPECT_TRUE(isRecording()) << "the other tracks go on";
    hand.picture(window(), "bad-camera-unplugged");
    click("Stop Recording");
    EXPECT_TRUE(shown("Start Recording"));
}

TEST_F(BadInputTest, aMicrophoneThatBringsNoSoundSaysSoBeforeTheTake) {
    machine.audioHardware->device("mic.one")->signal = [](uint32_t, int64_t, CMTime) { return 0.0f; };
    click("Microphone");
    EXPECT_TRUE(shown("No sound"));
    hand.picture(window(), "bad-silent-microphone");
    machine.audioHardware->device("mic.one")->signal = nullptr;
    EXPECT_TRUE(gone("No sound"));
}

/// An X server without a compositor shows what is see-through in black: the panel's corners are cut off there.
TEST_F(BadInputTest, withoutACompositorThePanelsCornersShowWhatLiesBelow) {
    QScreen* const screen = QGuiApplication::primaryScreen();
    program->trayItem().togglePanel();
    QQuickWindow* const panel = program->trayItem().panel();
    ASSERT_TRUE(hand.awaitShown(panel));
    const auto at = [&](QPoint point) {
        return screen->grabWindow(0, point.x(), point.y(), 1, 1).toImage().pixel(0, 0);
    };
    const QPoint corner = panel->position();
    const QPoint inside = corner + QPoint(panel->width() / 2, 4);
    EXPECT_TRUE(hand.until([&] { return panel->isVisible() && at(inside) != at(corner); }));
    const QRgb besides = at(corner);
    program->trayItem().dismissPanel();
    EXPECT_TRUE(hand.until([&] { return at(inside) != besides || at(corner) == besides; }));
    hand.moments(10);
    EXPECT_EQ(at(corner), besides) << "what lies below is what was seen";
}

} // namespace
} // namespace vintra

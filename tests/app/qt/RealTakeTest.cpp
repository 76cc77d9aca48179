#include "Vintra/app/qt/PreviewModel.h"
#include "Vintra/app/qt/QtEventLoop.h"
#include "Vintra/app/qt/QtProgram.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/simulated/SimulatedDesktop.h"
#include "Vintra/platform/simulated/SimulatedGlobalHotKeys.h"
#include "Vintra/platform/simulated/SimulatedProgramRemoval.h"
#include "Vintra/platform/simulated/SimulatedUpdateInstallation.h"
#include "Vintra/platform/simulated/SimulatedWebRequests.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "tests/app/qt/WindowHand.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/PublishedCamera.h"
#include "tests/support/TemporaryFolder.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <memory>

namespace vintra {
namespace {

/// The program over the real screen, microphone, camera and sound server.
class RealTakeTest : public ::testing::Test {
protected:
    void SetUp() override {
        machine.services.userDefaults->set("outputFolderPath", folder.url().path());
        machine.services.userDefaults->set("timelineEditor", std::string("resolve"));
        program = std::make_unique<QtProgram>(QtProgram::Services{
            .platform = machine.services,
            .desktop = std::make_shared<SimulatedDesktop>(),
            .hotKeys = std::make_shared<SimulatedGlobalHotKeys>(),
            .sendFeedback = [](FeedbackAsk::Answer, const std::string&) {},
            .endEventLoop = [] {},
            .web = std::make_shared<SimulatedWebRequests>(machine.services.mainThread,
                                                          machine.services.fileManager),
            .updates = std::make_shared<SimulatedUpdateInstallation>(machine.services.mainThread),
            .removal = std::make_shared<SimulatedProgramRemoval>(),
            .acknowledgements = {}});
        program->raise();
        ASSERT_TRUE(hand.awaitShown(&window()));
    }
    void TearDown() override {
        program->end([this](const std::function<bool()>& condition) { EXPECT_TRUE(hand.until(condition)); });
        program = nullptr;
    }
    QQuickWindow& window() { return *program->windows().mainWindow(); }
    void click(const QString& name) { hand.click(window(), name); }
    bool shown(const QString& text) {
        return hand.until([&] { return shows(window(), text); });
    }
    QQuickWindow* preview() {
        for (QWindow* candidate : QGuiApplication::topLevelWindows()) {
            auto* const found = qobject_cast<QQuickWindow*>(candidate);
            if (found && found->isVisible() && found->property("model").value<PreviewModel*>()) return found;
        }
        return nullptr;
    }
    /// How far the picture is from one colour, 0 to 255.
    static int contrast(const QImage& image) {
        int least = 255;
        int most = 0;
        for (int x = 0; x < image.width(); x += 7) {
            for (int y = 0; y < image.height(); y += 7) {
                least = std::min(least, qGray(image.pixel(x, y)));
                most = std::max(most, qGray(image.pixel(x, y)));
            }
        }
        return most - least;
    }

    const TemporaryFolder folder;
    const std::shared_ptr<QtEventLoop> loop = std::make_shared<QtEventLoop>();
    LinuxPlatform machine = LinuxPlatform::make(loop, {.keepsSettingsInMemory = true});
    std::unique_ptr<QtProgram> program;
    WindowHand hand{[] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }};
};

TEST_F(RealTakeTest, fiveClicksRecordScreenCameraAndMicrophone) {
    PublishedCamera camera("vintra.test.window.camera", {"--format", "MJPG:640x360@30"});
    ASSERT_TRUE(camera.isPublished());
    click("Microphone");
    click("Webcam");
    EXPECT_TRUE(shown("3 armed"));
    ASSERT_TRUE(hand.until([&] { return preview() != nullptr; }));
    preview()->setPosition(1000, 100);
    EXPECT_TRUE(hand.until([&] { return contrast(preview()->grabWindow()) > 100; }))
        << "no picture in the preview";
    hand.picture(*preview(), "real-preview");
    click("Session name");
    hand.key("a", true);
    hand.type("interview");
    click("Start Recording");
    EXPECT_TRUE(shown("0:02"));
    hand.picture(window(), "real-recording");
    click("Stop Recording");
    EXPECT_TRUE(shown("Start Recording"));
    EXPECT_TRUE(hand.until([&] { return program->recorder().statusMessage->starts_with("Saved"); }));
    hand.picture(window(), "real-saved");
    for (const char* name : {"interview_video.mov", "interview_webcam.mov"}) {
        const MediaProbe movie(folder.file(name));
        EXPECT_GE(movie.duration(), 1.5) << name;
    }
    EXPECT_EQ(MediaProbe(folder.file("interview_mic.wav")).track(0).sampleRate, 48000);
}

} // namespace
} // namespace vintra

#pragma once

#include "Vintra/app/qt/PreviewModel.h"
#include "Vintra/app/qt/QtEventLoop.h"
#include "Vintra/app/qt/QtProgram.h"
#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/simulated/SimulatedDesktop.h"
#include "Vintra/platform/simulated/SimulatedGlobalHotKeys.h"
#include "Vintra/platform/simulated/SimulatedProgramRemoval.h"
#include "Vintra/platform/simulated/SimulatedUpdateInstallation.h"
#include "Vintra/platform/simulated/SimulatedWebRequests.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "tests/app/qt/WindowHand.h"
#include "tests/programs/RecordedWav.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/TemporaryFolder.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <algorithm>
#include <memory>

namespace vintra {

/// The program over the real screen, microphone, camera and sound server.
class RealProgramFixture : public ::testing::Test {
protected:
    void SetUp() override {
        machine.services.userDefaults->set("outputFolderPath", folder.url().path());
        machine.services.userDefaults->set("timelineEditor", std::string("resolve"));
        program = std::make_unique<QtProgram>(QtProgram::Services{
            .platform = machine.services,
            .desktop = desktop,
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
    void choose(const URL& to) {
        click("Choose…");
        ASSERT_TRUE(hand.until([&] { return !desktop->panels.empty(); }));
        desktop->panels.back().onChosen(to);
        desktop->panels.clear();
    }
    /// How many seconds of the sound file have a sample at or above the threshold, of full scale, in each hundredth.
    double loudSeconds(const std::string& name, size_t channels, double threshold) const {
        const RecordedWav sound(folder.file(name), channels);
        EXPECT_EQ(sound.sampleRate(), 48'000) << name;
        constexpr int64_t kHundredth = 480;
        int loud = 0;
        for (int64_t begin = 0; begin + kHundredth <= sound.frames(); begin += kHundredth) {
            int32_t most = 0;
            for (int64_t frame = begin; frame < begin + kHundredth; ++frame)
                most = std::max(most, sound.at(frame, 0));
            if (most >= static_cast<int32_t>(threshold * (1 << 23))) ++loud;
        }
        return loud / 100.0;
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
    LinuxPlatform machine = LinuxPlatform::make(
        loop, {.keepsSettingsInMemory = true, .outputToPutBackKey = SystemOutputRouter::kPendingRestoreKey});
    const std::shared_ptr<SimulatedDesktop> desktop = std::make_shared<SimulatedDesktop>();
    std::unique_ptr<QtProgram> program;
    WindowHand hand{[] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }};
};

} // namespace vintra

#pragma once

#include "Vintra/app/qt/QtProgram.h"
#include "Vintra/platform/simulated/SimulatedDesktop.h"
#include "Vintra/platform/simulated/SimulatedGlobalHotKeys.h"
#include "Vintra/platform/simulated/SimulatedProgramRemoval.h"
#include "Vintra/platform/simulated/SimulatedUpdateInstallation.h"
#include "Vintra/platform/simulated/SimulatedWebRequests.h"
#include "tests/app/qt/WindowHand.h"
#include "tests/take/RoutingFixture.h"

#include <QCoreApplication>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// The whole program with its windows on the screen, over a simulated machine with the virtual device, outputs, three
/// sound inputs and one display. Its time passes while the hand waits.
class ProgramFixture : public RoutingFixture {
protected:
    void SetUp() override {
        RoutingFixture::SetUp();
        recorder = nullptr; // the program makes its own
        machine.settle();
        startProgram();
        window().setFramePosition({40, 20});
        ASSERT_TRUE(hand.awaitShown(&window()));
    }
    void TearDown() override {
        stopProgram();
        RoutingFixture::TearDown();
    }
    void startProgram() {
        program = std::make_unique<QtProgram>(
            QtProgram::Services{.platform = machine.platform(),
                                .desktop = desktop,
                                .hotKeys = hotKeys,
                                .sendFeedback = [](FeedbackAsk::Answer, const std::string&) {},
                                .endEventLoop = [this] { ++terminations; },
                                .web = web,
                                .updates = updates,
                                .removal = removal,
                                .acknowledgements = URL::fileURL(kAcknowledgements)});
        machine.run(0.5);
        program->raise();
        ASSERT_NE(program->windows().mainWindow(), nullptr);
    }
    void stopProgram() {
        if (!program) return;
        program->end([this](const std::function<bool()>& condition) { EXPECT_TRUE(hand.until(condition)); });
        program = nullptr;
        machine.run(0.1);
    }

    ScreenRecorderManager& live() { return program->recorder(); }
    QQuickWindow& window() { return *program->windows().mainWindow(); }
    void click(const QString& name) { hand.click(window(), name); }
    bool shown(const QString& text) {
        return hand.until([&] { return shows(window(), text); });
    }
    bool gone(const QString& text) {
        return hand.until([&] { return !shows(window(), text); });
    }
    bool isRecording() const { return *program->recorder().isRecording; }

    const std::shared_ptr<SimulatedDesktop> desktop = std::make_shared<SimulatedDesktop>();
    const std::shared_ptr<SimulatedGlobalHotKeys> hotKeys = std::make_shared<SimulatedGlobalHotKeys>();
    static constexpr const char* kAcknowledgements = "/usr/share/vintra/Acknowledgements.txt";
    const std::shared_ptr<SimulatedWebRequests> web =
        std::make_shared<SimulatedWebRequests>(machine.mainThread, machine.fileManager);
    const std::shared_ptr<SimulatedUpdateInstallation> updates =
        std::make_shared<SimulatedUpdateInstallation>(machine.mainThread);
    const std::shared_ptr<SimulatedProgramRemoval> removal = std::make_shared<SimulatedProgramRemoval>();
    int terminations = 0;
    std::unique_ptr<QtProgram> program;
    WindowHand hand{[this] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        machine.run(0.02);
    }};
};

} // namespace vintra

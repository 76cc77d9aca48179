// vintra: the program with its windows.

#include "Vintra/app/qt/DesignFont.h"
#include "Vintra/app/qt/QtEventLoop.h"
#include "Vintra/app/qt/QtProgram.h"
#include "Vintra/app/qt/Rendering.h"
#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/Desktop.h"
#include "Vintra/platform/GlobalHotKey.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/linux/runtime/SignalWatcher.h"

#include <QAccessible>
#include <QApplication>
#include <QFont>
#include <csignal>
#include <cstdio>

namespace {

using namespace vintra;

/// Stands where the desktop's own services will.
class NoDesktop final : public Desktop {
public:
    void copyToPasteboard(const std::string&) override {}
    void openAddress(const std::string&) override {}
    void showInFileBrowser(const URL&) override {}
    void chooseFolder(const std::string&, const URL&, std::function<void(const URL&)>) override {}
};

class NoGlobalHotKeys final : public GlobalHotKeys {
public:
    std::unique_ptr<GlobalHotKey> makeHotKey(const KeyCombination&, const std::string&,
                                             std::function<void()>) override {
        return nullptr;
    }
};

int runProgram() {
    const auto loop = std::make_shared<QtEventLoop>();
    LinuxPlatform machine =
        LinuxPlatform::make(loop, {.logLevel = LogLevel::error,
                                   .outputToPutBackKey = SystemOutputRouter::kPendingRestoreKey,
                                   .reportsCrashes = true});
    QtProgram program({.platform = machine.services,
                       .desktop = std::make_shared<NoDesktop>(),
                       .hotKeys = std::make_shared<NoGlobalHotKeys>(),
                       .sendFeedback = [](FeedbackAsk::Answer, const std::string&) {},
                       .endEventLoop = [&loop] { loop->stop(); }});
    const SignalWatcher signals(*loop, {SIGINT, SIGTERM, SIGHUP}, [&program](int) { program.quit(); });
    program.raise();
    loop->run();
    program.end([](const std::function<bool()>& condition) {
        while (!condition())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    });
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may grow no further is an error of its writer, not the end
    prepareRendering();
    QApplication application(argumentCount, arguments);
    QApplication::setApplicationName("vintra");
    QApplication::setDesktopFileName("vintra");
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setFont(QFont(designFontFamily()));
    QAccessible::setRootObject(&application);
    try {
        return runProgram();
    } catch (const SystemError& error) {
        std::fprintf(stderr, "vintra: %s\n", error.localizedDescription().c_str());
        return 1;
    }
}

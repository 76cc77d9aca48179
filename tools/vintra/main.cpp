// vintra: the program with its windows, and the commands for the one that runs.

#include "Vintra/app/FeedbackReport.h"
#include "Vintra/app/ProgramArguments.h"
#include "Vintra/app/qt/DesignFont.h"
#include "Vintra/app/qt/QtDesktopToolkit.h"
#include "Vintra/app/qt/QtEventLoop.h"
#include "Vintra/app/qt/QtProgram.h"
#include "Vintra/app/qt/Rendering.h"
#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/linux/desktop/HungSessionBus.h"
#include "Vintra/platform/linux/desktop/LinuxDesktop.h"
#include "Vintra/platform/linux/desktop/PortalGlobalHotKeys.h"
#include "Vintra/platform/linux/desktop/ProgramBus.h"
#include "Vintra/platform/linux/desktop/QuitSignals.h"
#include "Vintra/platform/linux/desktop/TakeInhibitors.h"
#include "Vintra/platform/linux/desktop/WindowProblem.h"
#include "Vintra/platform/linux/desktop/X11GlobalHotKeys.h"
#include "Vintra/platform/linux/updates/LinuxProgramRemoval.h"
#include "Vintra/platform/linux/updates/LinuxUpdateInstallation.h"
#include "Vintra/platform/linux/web/CurlWebRequests.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "tools/vintra/CommandRun.h"
#include "tools/vintra/overlays/ProgramOverlays.h"

#include <QAccessible>
#include <QApplication>
#include <QFont>
#include <csignal>
#include <cstdio>
#include <optional>

namespace {

using namespace vintra;

void say(const std::string& sentence) {
    std::fprintf(stderr, "vintra: %s\n", printable(sentence).c_str());
}

LinuxDesktop::Toolkit toolkitOf(QtProgram*& program) {
    return {.copyToPasteboard = QtDesktopToolkit::copyToPasteboard,
            .parentWindow =
                [&program] {
                    return QtDesktopToolkit::portalNameOf(program ? program->windows().mainWindow()
                                                                  : nullptr);
                },
            .chooseFolder = QtDesktopToolkit::chooseFolder,
            .failed =
                [&program](const std::string& sentence) {
                    if (program) program->recorder().lastError.set(sentence);
                }};
}

/// A Wayland desktop keeps its keys to itself and gives them out by its portal.
std::shared_ptr<GlobalHotKeys> hotKeysOf(const LinuxPlatform& machine, EventLoop& loop,
                                         MainThreadBus& sessionBus) {
    if (machine.namesWindows()) return std::make_shared<X11GlobalHotKeys>(loop);
    return std::make_shared<PortalGlobalHotKeys>(sessionBus, machine.services.log);
}

ProgramBus::Handlers handlersOf(QtProgram& program) {
    return {.activate =
                [&program](const ProgramBus::Activation& activation) {
                    // Where Qt looks for it when it brings a window to the front.
                    if (!activation.token.empty()) qputenv("XDG_ACTIVATION_TOKEN", activation.token.c_str());
                    program.raise();
                },
            .carryOut =
                [&program](ProgramCommand command, const std::function<void(CommandOutcome)>& answer) {
                    program.commands().carryOut(command, answer);
                }};
}

/// An X session that ends asks each program to save, and waits for it. The program stays: the session may go on.
void saveTake(QtProgram& program) {
    if (!*program.recorder().isRecording) return;
    bool isSaved = false;
    program.commands().carryOut(ProgramCommand::stop, [&isSaved](const CommandOutcome&) { isSaved = true; });
    while (!isSaved)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

std::shared_ptr<LinuxUpdateInstallation> updatesOf(const Platform& services, MainThreadBus& systemBus) {
    const LinuxUpdateInstallation::Machine machine{
        .mainThread = services.mainThread,
        .dispatchQueues = services.dispatchQueues,
        .fileManager = services.fileManager,
        .operatingSystem = services.words.operatingSystem,
        .systemVersion = services.facts.operatingSystemVersion,
        .runningProgram = LinuxUpdateInstallation::pathOfRunningProgram(),
        .downloadFolder = LinuxUpdateInstallation::cachesFolder().appendingPathComponent("updates")};
    return std::make_shared<LinuxUpdateInstallation>(machine, systemBus);
}

std::shared_ptr<LinuxProgramRemoval> removalOf(const Platform& services, MainThreadBus& systemBus,
                                               MainThreadBus& sessionBus) {
    const LinuxProgramRemoval::Machine machine{.mainThread = services.mainThread,
                                               .fileManager = services.fileManager,
                                               .cachesFolder = LinuxUpdateInstallation::cachesFolder(),
                                               .deviceOfUser = LinuxProgramRemoval::standardDeviceOfUser(),
                                               .stateFolder = LinuxProgramRemoval::standardStateFolder()};
    return std::make_shared<LinuxProgramRemoval>(machine, systemBus, sessionBus);
}

/// Of an installation, and of a folder of builds, which has the same places.
URL acknowledgements() {
    const URL program = URL::fileURL(LinuxUpdateInstallation::pathOfRunningProgram());
    return program.deletingLastPathComponent()
        .deletingLastPathComponent()
        .appendingPathComponent("share")
        .appendingPathComponent("vintra")
        .appendingPathComponent("Acknowledgements.txt");
}

/// How a program ended.
struct Ending {
    int exitCode = 0;
    std::string next{}; ///< the program that is to begin in its place; empty for none
};

Ending runFirst(const std::shared_ptr<QtEventLoop>& loop, MainThreadBus& sessionBus, ProgramBus& programBus) {
    QtProgram* running = nullptr;
    MainThreadBus systemBus(*loop, MessageBus::system);
    LinuxPlatform machine =
        LinuxPlatform::make(loop, {.logLevel = LogLevel::error,
                                   .outputToPutBackKey = SystemOutputRouter::kPendingRestoreKey,
                                   .reportsCrashes = true});
    ProgramOverlays overlays(machine, *loop);
    const auto web = std::make_shared<CurlWebRequests>(
        machine.services.mainThread, machine.services.fileManager, CurlWebRequests::Options{});
    const auto updates = updatesOf(machine.services, systemBus);
    FeedbackReport feedback(machine.services, *web);
    QtProgram program({.platform = machine.services,
                       .desktop = std::make_shared<LinuxDesktop>(*loop, sessionBus, toolkitOf(running)),
                       .hotKeys = hotKeysOf(machine, *loop, sessionBus),
                       .sendFeedback = [&feedback](FeedbackAsk::Answer answer,
                                                   const std::string& note) { feedback.send(answer, note); },
                       .endEventLoop = [&loop] { loop->stop(); },
                       .web = web,
                       .updates = updates,
                       .removal = removalOf(machine.services, systemBus, sessionBus),
                       .acknowledgements = acknowledgements()});
    running = &program;
    const QuitSignals signals(*loop, [&program] { program.quit(); });
    TakeInhibitors inhibitors(systemBus, sessionBus, machine.services.log, [&program] { program.quit(); });
    ScreenRecorderManager& recorder = program.recorder();
    const auto follow = [&](bool) { inhibitors.setHeld(*recorder.isRecording || *recorder.isBusy); };
    const std::vector<Observation> observations{recorder.isRecording.observe(follow),
                                                recorder.isBusy.observe(follow)};
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, loop.get(),
                     [&program] { saveTake(program); });
    programBus.serve(handlersOf(program));
    overlays.attach(recorder);
    program.raise();
    loop->run();
    overlays.detach();
    program.end([](const std::function<bool()>& condition) {
        while (!condition())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    });
    return {.next = updates->programToBegin()};
}

/// The name on the bus is given up last: then another start finds all that this one held free.
Ending runProgram(const ProgramBus::Activation& activation, bool isBusHung) {
    const auto loop = std::make_shared<QtEventLoop>();
    MainThreadBus sessionBus(*loop, MessageBus::session);
    ProgramBus programBus(sessionBus);
    switch (programBus.claim()) {
    case ProgramBus::Standing::second: {
        const CommandOutcome outcome = programBus.raiseFirst(activation);
        if (!outcome.isDone) say(outcome.sentence);
        return {.exitCode = outcome.isDone ? ProgramArguments::kDone : ProgramArguments::kRefused};
    }
    case ProgramBus::Standing::alone:
        say(isBusHung ? ProgramBus::problemOfHungBus() : programBus.problem());
        break;
    case ProgramBus::Standing::first:
        break;
    }
    return runFirst(loop, sessionBus, programBus);
}

Ending openWindow(int argumentCount, char** arguments) {
    if (const std::string problem = windowProblem(); !problem.empty()) {
        say(problem);
        return {.exitCode = 1};
    }
    const auto activation = ProgramBus::activationOfStart();
    const bool isBusHung = leaveHungSessionBus();
    prepareRendering();
    QApplication application(argumentCount, arguments);
    QApplication::setApplicationName("vintra");
    QApplication::setDesktopFileName(kApplicationID);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setFont(QFont(designFontFamily()));
    QAccessible::setRootObject(&application);
    return runProgram(activation, isBusHung);
}

/// Nothing for the window.
std::optional<int> exitCodeWithoutWindow(const ProgramArguments::Request& request) {
    using namespace ProgramArguments;
    if (const auto* command = std::get_if<ProgramCommand>(&request)) return runCommand(*command);
    if (const auto* wrong = std::get_if<Wrong>(&request)) {
        say(wrong->sentence + " --help shows those there are.");
        return kWrongUsage;
    }
    if (std::holds_alternative<Help>(request)) {
        std::fputs(usageText().c_str(), stdout);
        return kDone;
    }
    if (std::holds_alternative<Version>(request)) {
        std::fputs(versionText({.appVersion = VINTRA_VERSION, .buildVersion = VINTRA_BUILD}).c_str(), stdout);
        return kDone;
    }
    return std::nullopt;
}

} // namespace

int main(int argumentCount, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may grow no further is an error of its writer, not the end
    try {
        const auto exitCode =
            exitCodeWithoutWindow(ProgramArguments::parse({arguments + 1, arguments + argumentCount}));
        if (exitCode) return *exitCode;
        const Ending ending = openWindow(argumentCount, arguments);
        if (ending.next.empty()) return ending.exitCode;
        // Nothing of this one is left by now: the next finds the name on the bus and its files free.
        LinuxUpdateInstallation::becomeProgram(ending.next);
        say("The update is installed, but it couldn't be started. Start Vintra again.");
        return 1;
    } catch (const SystemError& error) {
        say(error.localizedDescription());
        return 1;
    }
}

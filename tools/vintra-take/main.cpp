// vintra-take: a take from the command line. It drives the controller that the program's windows drive.

#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/linux/desktop/TakeInhibitors.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/SignalWatcher.h"
#include "tools/vintra-take/RecoveryOutcome.h"
#include "tools/vintra-take/TakeRunner.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace {

using namespace vintra;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

void say(const std::string& sentence) {
    std::fprintf(stderr, "vintra-take: %s\n", printable(sentence).c_str());
}

bool print(const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
}

/// The exit code of a run that has `what` to tell in this text. Whoever reads the output is to know whether it is
/// all there.
int tell(const std::string& text, int exitCode, const std::string& what) {
    if (print(text)) return exitCode;
    say(what + " couldn't be written to the output (" + std::strerror(errno) + ").");
    return exitCode == 0 ? kFailed : exitCode;
}

int refuse(const UsageError& error) {
    say(error.sentence + " --help shows how it is used.");
    return kWrongUsage;
}

TakeRunner::Outlets outlets(bool isWatched, bool isForPrograms) {
    TakeRunner::Outlets result{.note = say, .status = {}, .event = {}};
    result.event = [isWatched, isForPrograms](const TakeEvent& event) {
        if (isForPrograms) {
            const std::string line = jsonLineOf(event);
            std::fwrite(line.data(), 1, line.size(), stderr);
        } else {
            if (isWatched) print("\r\x1b[K");
            say(textOf(event));
        }
    };
    if (isWatched) result.status = [](const std::string& line) { print("\r" + printable(line) + "\x1b[K"); };
    return result;
}

/// One command line, to its exit code.
Task<int> carryOut(TakeRunner& runner, LinuxPlatform& machine, const Options& options, bool isWatched) {
    co_await runner.awaitStartUp();
    if (!options.computerAudio) machine.soundRouting.release();
    if (options.command == Options::Command::list) {
        const MachineList list = co_await runner.list();
        co_return tell(options.json ? jsonOf(list) : printable(textOf(list)), 0, "The list");
    }
    if (options.command == Options::Command::report) {
        const std::string report = co_await runner.report();
        co_return tell(options.json ? jsonOfReport(report) : printable(report + "\n"), 0, "The report");
    }
    const auto outcome = co_await runner.run();
    if (const auto* error = std::get_if<UsageError>(&outcome)) co_return refuse(*error);
    const auto& summary = std::get<TakeSummary>(outcome);
    if (isWatched) print("\r\x1b[K");
    co_return tell(options.json ? jsonOf(summary) : printable(tableOf(summary)), summary.exitCode(),
                   "What became of the take (" + summary.status + ")");
}

/// Runs the task, whatever it throws, and then the end of the runner.
Task<> carryOutAndEnd(Task<int> task, TakeRunner& runner, EventLoop& loop, int& exitCode) {
    try {
        exitCode = co_await std::move(task);
    } catch (const SystemError& error) {
        say(error.localizedDescription());
        exitCode = kFailed;
    }
    co_await runner.end();
    loop.stop();
}

int carryOutRecovery(const Options& options) {
    const RecoveryOutcome outcome = recoverTakes(options.recoverFolder, options.verbose);
    for (const std::string& problem : outcome.problems)
        say(problem);
    return tell(options.json ? jsonOf(outcome) : printable(textOf(outcome)), outcome.exitCode(),
                "What became of the takes");
}

int carryOut(const Options& options) {
    if (options.command == Options::Command::recover) return carryOutRecovery(options);

    const bool isWatched = isatty(STDOUT_FILENO) == 1;
    const auto loop = std::make_shared<LinuxEventLoop>();
    TakeRunner* running = nullptr;
    bool early = false; // a signal before there is anything to interrupt
    const SignalWatcher signals(*loop, {SIGINT, SIGTERM, SIGHUP}, [&](int) {
        if (running)
            running->interrupt();
        else
            early = true;
    });
    LinuxPlatform machine =
        LinuxPlatform::make(loop, {.logLevel = options.verbose ? LogLevel::info : LogLevel::error,
                                   .keepsSettingsInMemory = true,
                                   .outputToPutBackKey = SystemOutputRouter::kPendingRestoreKey,
                                   .reportsCrashes = true});
    for (const auto& [key, value] : options.settings)
        machine.services.userDefaults->set(key, value);
    TakeRunner runner(machine, options, outlets(isWatched, options.json));
    running = &runner;
    MainThreadBus systemBus(*loop, MessageBus::system);
    MainThreadBus sessionBus(*loop, MessageBus::session);
    TakeInhibitors inhibitors(systemBus, sessionBus, machine.services.log, [&runner] { runner.interrupt(); });
    inhibitors.setHeld(options.command == Options::Command::take);
    if (early) runner.interrupt();
    int exitCode = kFailed;
    TaskScope tasks;
    tasks.start(carryOutAndEnd(carryOut(runner, machine, options, isWatched), runner, *loop, exitCode));
    loop->run();
    return exitCode;
}

} // namespace

int main(int argumentCount, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may grow no further is an error of its writer, not the end
    const auto parsed = parseOptions({arguments + 1, arguments + argumentCount});
    if (const auto* error = std::get_if<UsageError>(&parsed)) return refuse(*error);
    const auto& options = std::get<Options>(parsed);
    if (options.command == Options::Command::help) return tell(usageText(), 0, "The help");
    try {
        return carryOut(options);
    } catch (const SystemError& error) {
        say(error.localizedDescription());
        return kFailed;
    }
}

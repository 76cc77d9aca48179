// vintra-take: a take from the command line. It drives the controller that the program's windows drive.

#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/SoundRoutingClaim.h"
#include "Vintra/platform/linux/files/MemoryUserDefaults.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/SignalWatcher.h"
#include "tools/vintra-take/OthersOutputs.h"
#include "tools/vintra-take/TakeRunner.h"

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

using namespace vintra;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kStartUpMilliseconds = 1000; // more than another run needs for its own

void say(const std::string& sentence) {
    std::fprintf(stderr, "vintra-take: %s\n", sentence.c_str());
}

void print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

int refuse(const UsageError& error) {
    say(error.sentence + " --help shows how it is used.");
    return kWrongUsage;
}

/// The way back that another run has noted is its own, too.
void leaveOutputsAlone(LinuxPlatform& machine) {
    machine.services.audioHardware = std::make_shared<OthersOutputs>(machine.services.audioHardware);
    machine.services.userDefaults = std::make_shared<MemoryUserDefaults>();
}

int carryOut(const Options& options) {
    const bool isWatched = isatty(STDOUT_FILENO) == 1;
    const auto mainThread = std::make_shared<LinuxEventLoop>();
    TakeRunner* running = nullptr;
    bool early = false; // a signal before there is anything to interrupt
    const SignalWatcher signals(*mainThread, {SIGINT, SIGTERM, SIGHUP}, [&](int) {
        if (running)
            running->interrupt();
        else
            early = true;
    });
    // A start mends an output that a crash has left on the virtual device. One that a run which still goes on
    // holds there is to stay.
    SoundRoutingClaim claim(SoundRoutingClaim::standardPath());
    const bool isFree = claim.take(kStartUpMilliseconds);
    LinuxPlatform machine =
        LinuxPlatform::make(mainThread, {.logLevel = options.verbose ? LogLevel::info : LogLevel::error,
                                         .keepsSettingsInMemory = true,
                                         .crashSafeKey = SystemOutputRouter::kPendingRestoreKey});
    if (!isFree) leaveOutputsAlone(machine);
    TakeRunner::Outlets outlets{.note = say, .status = {}};
    if (isWatched) outlets.status = [](const std::string& line) { print("\r" + line + "\x1b[K"); };
    using Routing = TakeRunner::Routing;
    TakeRunner runner(machine, options, outlets, isFree ? Routing::free : Routing::heldByAnother);
    running = &runner;
    if (early) runner.interrupt();
    runner.awaitStartUp();
    if (!options.computerAudio) claim.release();

    if (options.command == Options::Command::list) {
        const MachineList list = runner.list();
        print(options.json ? jsonOf(list) : textOf(list));
        return 0;
    }
    const auto outcome = runner.run();
    if (const auto* error = std::get_if<UsageError>(&outcome)) return refuse(*error);
    const auto& summary = std::get<TakeSummary>(outcome);
    if (isWatched) print("\r\x1b[K");
    print(options.json ? jsonOf(summary) : tableOf(summary));
    return summary.exitCode();
}

} // namespace

int main(int argumentCount, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may grow no further is an error of its writer, not the end
    const auto parsed = parseOptions({arguments + 1, arguments + argumentCount});
    if (const auto* error = std::get_if<UsageError>(&parsed)) return refuse(*error);
    const auto& options = std::get<Options>(parsed);
    if (options.command == Options::Command::help) {
        print(usageText());
        return 0;
    }
    try {
        return carryOut(options);
    } catch (const SystemError& error) {
        say(error.localizedDescription());
        return kFailed;
    }
}

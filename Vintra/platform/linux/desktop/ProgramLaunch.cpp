#include "Vintra/platform/linux/desktop/ProgramLaunch.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

extern char** environ;

namespace vintra {
namespace {

constexpr int kNotStarted = 127; // as a shell says it

/// It is to take signals as any program does, and to say nothing into this program's output. -1 if it can't be started.
pid_t startApart(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& part : command)
        arguments.push_back(part.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    // A session of its own: an interrupt at this program's terminal isn't for it.
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    pid_t process = -1;
    const int error = posix_spawnp(&process, arguments[0], &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? process : -1;
}

} // namespace

ProgramLaunch::ProgramLaunch(EventLoop& loop, std::vector<std::string> command, OnEnd onEnd)
    : onEnd(std::move(onEnd))
    , process(startApart(std::move(command))) {
    if (process > 0) descriptor = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    if (descriptor.isOpen()) {
        watch = loop.watch(descriptor.get(), EventLoop::Readiness::readable, [this] { ended(); });
    } else if (process < 0) {
        loop.post([tell = this->onEnd] { tell(kNotStarted); });
    }
}

ProgramLaunch::~ProgramLaunch() {
    watch = nullptr;
    // One that has ended would otherwise stay in the system's list of processes.
    if (process > 0) ::waitpid(process, nullptr, WNOHANG);
}

void ProgramLaunch::ended() {
    int status = 0;
    if (::waitpid(process, &status, WNOHANG) == 0) return;
    process = -1;
    watch = nullptr;
    const OnEnd tell = onEnd;
    tell(WIFEXITED(status) ? WEXITSTATUS(status) : kNotStarted + 1);
}

} // namespace vintra

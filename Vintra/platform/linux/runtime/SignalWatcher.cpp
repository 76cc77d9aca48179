#include "Vintra/platform/linux/runtime/SignalWatcher.h"

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/SystemError.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace vintra {
namespace {

/// Where the signal handler writes: it can reach nothing but a global.
std::atomic<int> signalPipe{-1};
bool isIgnored(int signal) {
    struct sigaction now {};
    return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

static_assert(std::atomic<int>::is_always_lock_free);

void noteSignal(int signal) {
    const int error = errno;
    const auto byte = static_cast<unsigned char>(signal);
    const int pipe = signalPipe.load();
    // A full pipe holds signals enough.
    if (pipe >= 0) [[maybe_unused]]
        const ssize_t written = write(pipe, &byte, 1);
    errno = error;
}

} // namespace

SignalWatcher::SignalWatcher(EventLoop& eventLoop, std::initializer_list<int> signals,
                             std::function<void(int signal)> handler)
    : handler(std::move(handler)) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw SystemError("posix", errno,
                          "Signals can't be watched: the system has too many "
                          "files open. Close other programs and try again.");
    }
    readEnd = FileDescriptor(ends[0]);
    writeEnd = FileDescriptor(ends[1]);
    watch = eventLoop.watch(readEnd.get(), EventLoop::Readiness::readable, [this] { readSignals(); });
    signalPipe.store(writeEnd.get());
    for (const int signal : signals) {
        if (signal == SIGHUP && isIgnored(signal)) continue;
        struct sigaction action {};
        action.sa_handler = noteSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        Previous before{signal, {}};
        if (sigaction(signal, &action, &before.action) == 0) previous.push_back(before);
    }
}

SignalWatcher::~SignalWatcher() {
    for (const Previous& before : previous)
        sigaction(before.signal, &before.action, nullptr);
    signalPipe.store(-1);
}

void SignalWatcher::readSignals() {
    unsigned char arrived[64];
    const ssize_t count = read(readEnd.get(), arrived, sizeof arrived);
    // The block may end this watcher.
    const auto block = handler;
    for (ssize_t i = 0; i < count; ++i)
        block(arrived[i]);
}

} // namespace vintra

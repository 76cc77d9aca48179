#include "Vintra/platform/linux/x11/X11Patience.h"

#include "Vintra/platform/linux/runtime/AllSignalsBlocked.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <chrono>
#include <fcntl.h>
#include <sys/socket.h>
#include <system_error>

namespace vintra {

X11Patience::X11Patience(int of, int64_t nanoseconds)
    : connection(::fcntl(of, F_DUPFD_CLOEXEC, 0)) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::nanoseconds(nanoseconds);
    const AllSignalsBlocked inheritedByTheThread;
    try {
        thread = std::thread([this, until] {
            MutexLock lock(mutex);
            while (!ended) {
                if (changed.wait_until(lock, until) != std::cv_status::timeout) continue;
                if (ended) return;
                over = true;
                ::shutdown(connection.get(), SHUT_RDWR);
                return;
            }
        });
    } catch (const std::system_error&) {
        return;
    }
}

X11Patience::X11Patience(const X11Display& display, int64_t nanoseconds)
    : X11Patience(ConnectionNumber(display.get()), nanoseconds) {}

X11Patience::~X11Patience() {
    {
        MutexLock lock(mutex);
        ended = true;
    }
    changed.notify_all();
    if (thread.joinable()) thread.join();
}

bool X11Patience::isOver() const {
    MutexLock lock(mutex);
    return over;
}

} // namespace vintra

#pragma once

#include "Vintra/platform/Screens.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"
#include "Vintra/platform/linux/runtime/WakeUp.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace vintra {

/// Tells when the screens of an X desktop, or their scale, have changed: a thread with a connection of its
/// own that sleeps until the server says so. It ends when the server goes, which is a change too. Owned by
/// `X11Screens`, on the main thread.
class X11ScreenWatch {
public:
    /// `onChange` is called on the watch's thread. Throws `SystemError` without a server.
    X11ScreenWatch(const std::string& displayName, std::function<void()> onChange);
    ~X11ScreenWatch();
    X11ScreenWatch(const X11ScreenWatch&) = delete;
    X11ScreenWatch& operator=(const X11ScreenWatch&) = delete;

private:
    void run();
    bool handleEvents();
    void sleep();

    const std::function<void()> onChange;
    WakeUp wakeUp;
    std::atomic<bool> stopping = false;
    std::unique_ptr<X11Display> display; ///< the watch's thread, once that runs
    const FileDescriptor connection;     ///< the same, for the end
    int randrEvents = -1;                ///< number of RandR's first event; -1 if the server hasn't RandR
    std::vector<NSScreen> known;
    std::thread thread;
};

} // namespace vintra

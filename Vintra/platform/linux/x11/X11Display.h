#pragma once

#include "Vintra/platform/SystemError.h"

#include <X11/Xlib.h>

#include <memory>
#include <string>

namespace vintra {

/// A connection to an X server. Neither a refused request nor the loss of the server ends the process: `failed`
/// says the first, `isDead` the second. On a dead connection requests do nothing and answers are empty. Owned by
/// whoever opened it; one thread at a time.
class X11Display {
public:
    /// How long a server may take for a connection, and for the requests of one that is needed for a moment.
    static constexpr int64_t kPatience = 3'000'000'000; // nanoseconds

    /// An empty name stands for the DISPLAY of the environment. Throws `SystemError` with the domain "x11", also
    /// if the server doesn't answer in time.
    static std::unique_ptr<X11Display> open(const std::string& name);
    ~X11Display();
    X11Display(const X11Display&) = delete;
    X11Display& operator=(const X11Display&) = delete;

    ::Display* get() const { return display; }
    ::Window root() const { return DefaultRootWindow(display); }
    bool isDead() const { return dead; }

    /// Forgets earlier errors.
    void clearErrors() { errorCode = 0; }
    /// Waits until the server has handled everything, then: was a request refused since `clearErrors`?
    bool failed();
    /// As `failed`, without waiting: after a request that has an answer.
    bool hasError() const { return errorCode != 0 || dead; }

    /// The error to report for a server that can't be reached or has ended.
    static SystemError serverGone();
    /// The error to report for one that doesn't answer.
    static SystemError noAnswer();

private:
    explicit X11Display(::Display* opened);
    static int handleError(::Display* display, XErrorEvent* event);
    static int handleLostServer(::Display* display);

    ::Display* display;
    int errorCode = 0; ///< of the last refused request; 0 for none
    bool dead = false;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <functional>
#include <memory>
#include <string>

namespace vintra {

/// The pointer of an X desktop as it moves, or its buttons as they are pressed, over the windows of every
/// program: raw events of XInput 2, which no window's grab keeps back. A connection of its own, so that a mouse that
/// tells a thousand moves a second is heard no more than 60 times. Owned by `X11EventMonitors`; main thread.
class X11PointerWatch {
public:
    enum class Kind { moves, presses };

    /// Calls the function for a press of the left or right button, or once for all moves since the call before. It
    /// may destroy this. Null without a server or XInput 2. The event loop outlives it.
    static std::unique_ptr<X11PointerWatch> open(EventLoop& eventLoop, const std::string& displayName,
                                                 Kind kind, std::function<void()> onEvent);
    X11PointerWatch(const X11PointerWatch&) = delete;
    X11PointerWatch& operator=(const X11PointerWatch&) = delete;

private:
    X11PointerWatch(EventLoop& eventLoop, std::unique_ptr<X11Display> display, Kind kind, int opcode,
                    std::function<void()> onEvent);
    void listen();
    void handleEvents();
    void rest();

    EventLoop& eventLoop;
    const std::unique_ptr<X11Display> display;
    const Kind kind;
    const int opcode; ///< of XInput 2
    const std::function<void()> onEvent;
    const FileDescriptor timer; ///< readable when the rest between two calls is over
    std::shared_ptr<void> watch;
};

} // namespace vintra

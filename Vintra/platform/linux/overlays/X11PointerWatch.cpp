#include "Vintra/platform/linux/overlays/X11PointerWatch.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/x11/X11Patience.h"

#include <X11/extensions/XInput2.h>

#include <cstdint>
#include <sys/timerfd.h>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

constexpr long kRestNanoseconds = 16'000'000;
constexpr int kLeftButton = 1;
constexpr int kRightButton = 3;

/// The extension's number; 0 without it.
int queryXInput2(X11Display& display) {
    int opcode = 0;
    int event = 0;
    int error = 0;
    if (!XQueryExtension(display.get(), "XInputExtension", &opcode, &event, &error)) return 0;
    int major = 2;
    int minor = 2; // from which on a grab keeps nothing back
    return XIQueryVersion(display.get(), &major, &minor) == Success ? opcode : 0;
}

} // namespace

std::unique_ptr<X11PointerWatch> X11PointerWatch::open(EventLoop& eventLoop, const std::string& displayName,
                                                       Kind kind, std::function<void()> onEvent) {
    try {
        auto display = X11Display::open(displayName);
        const X11Patience patience(*display, X11Display::kPatience);
        const int opcode = queryXInput2(*display);
        if (opcode == 0) return nullptr;
        return std::unique_ptr<X11PointerWatch>(
            new X11PointerWatch(eventLoop, std::move(display), kind, opcode, std::move(onEvent)));
    } catch (const SystemError&) {
        return nullptr;
    }
}

X11PointerWatch::X11PointerWatch(EventLoop& eventLoop, std::unique_ptr<X11Display> opened, Kind kind,
                                 int opcode, std::function<void()> onEvent)
    : eventLoop(eventLoop)
    , display(std::move(opened))
    , kind(kind)
    , opcode(opcode)
    , onEvent(std::move(onEvent))
    , timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
    XISetMask(bits, kind == Kind::moves ? XI_RawMotion : XI_RawButtonPress);
    XIEventMask mask{.deviceid = XIAllMasterDevices, .mask_len = sizeof bits, .mask = bits};
    XISelectEvents(display->get(), display->root(), &mask, 1);
    XSync(display->get(), False); // from here on nothing is missed
    listen();
}

void X11PointerWatch::listen() {
    watch = eventLoop.watch(ConnectionNumber(display->get()), EventLoop::Readiness::readable,
                            [this] { handleEvents(); });
}

void X11PointerWatch::handleEvents() {
    int events = 0;
    while (!display->isDead() && XPending(display->get()) > 0) {
        XEvent event;
        XNextEvent(display->get(), &event);
        XGenericEventCookie& cookie = event.xcookie;
        if (cookie.type != GenericEvent || cookie.extension != opcode) continue;
        if (!XGetEventData(display->get(), &cookie)) continue;
        const int detail = static_cast<const XIRawEvent*>(cookie.data)->detail;
        const bool isMeant = kind == Kind::moves || detail == kLeftButton || detail == kRightButton;
        XFreeEventData(display->get(), &cookie);
        if (isMeant) ++events;
    }
    if (display->isDead()) {
        watch.reset();
        return;
    }
    if (events == 0) return;
    const auto call = onEvent;
    if (kind == Kind::moves) {
        rest();
        call();
        return;
    }
    // Presses that came together are told apart by nothing: the pointer has one place now.
    call();
}

/// Lets events wait in the connection for a while.
void X11PointerWatch::rest() {
    const itimerspec rest{.it_interval = {}, .it_value = {.tv_sec = 0, .tv_nsec = kRestNanoseconds}};
    if (!timer.isOpen() || ::timerfd_settime(timer.get(), 0, &rest, nullptr) != 0) return;
    watch = eventLoop.watch(timer.get(), EventLoop::Readiness::readable, [this] {
        uint64_t expirations = 0;
        if (::read(timer.get(), &expirations, sizeof expirations) < 0) return;
        listen();
    });
}

} // namespace vintra

#include "Vintra/platform/linux/x11/X11ScreenWatch.h"

#include "Vintra/platform/linux/runtime/AllSignalsBlocked.h"
#include "Vintra/platform/linux/x11/X11Monitors.h"
#include "Vintra/platform/linux/x11/X11Patience.h"

#include <X11/Xatom.h>
#include <X11/extensions/Xrandr.h>

#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <utility>

namespace vintra {
namespace {

/// For the requests that are under way at the end.
constexpr int64_t kPatienceAtTheEnd = 1'000'000'000; // nanoseconds

} // namespace

X11ScreenWatch::X11ScreenWatch(const std::string& displayName, std::function<void()> onChange)
    : onChange(std::move(onChange))
    , display(X11Display::open(displayName))
    , connection(::fcntl(ConnectionNumber(display->get()), F_DUPFD_CLOEXEC, 0)) {
    const X11Patience patience(*display, X11Display::kPatience);
    int errorBase = 0;
    if (XRRQueryExtension(display->get(), &randrEvents, &errorBase)) {
        XRRSelectInput(display->get(), display->root(),
                       RRScreenChangeNotifyMask | RRCrtcChangeNotifyMask | RROutputChangeNotifyMask);
    } else {
        randrEvents = -1;
    }
    // The scale is a property of the root window.
    XSelectInput(display->get(), display->root(), StructureNotifyMask | PropertyChangeMask);
    known = readScreens(*display);
    const AllSignalsBlocked inheritedByTheThread;
    try {
        thread = std::thread([this] {
            pthread_setname_np(pthread_self(), "screen watch");
            run();
        });
    } catch (const std::system_error& error) {
        throw SystemError("posix", error.code().value(),
                          "Changes of the screens can't be watched: the system has no thread to spare.");
    }
}

X11ScreenWatch::~X11ScreenWatch() {
    stopping = true;
    wakeUp.set();
    const X11Patience patience(connection.get(), kPatienceAtTheEnd);
    thread.join();
}

void X11ScreenWatch::run() {
    while (!stopping && !display->isDead()) {
        if (!handleEvents()) {
            sleep();
            continue;
        }
        auto now = readScreens(*display);
        if (now == known) continue;
        known = std::move(now);
        onChange();
    }
    // Here, since once the server has gone Xlib lets no other thread close it.
    display.reset();
}

/// Was there any that may have changed the screens?
bool X11ScreenWatch::handleEvents() {
    bool mayHaveChanged = false;
    while (XPending(display->get()) > 0) {
        XEvent event;
        XNextEvent(display->get(), &event);
        const bool isOfRandR = randrEvents >= 0 && (event.type == randrEvents + RRScreenChangeNotify ||
                                                    event.type == randrEvents + RRNotify);
        const bool isOfRoot = event.type == ConfigureNotify && event.xconfigure.window == display->root();
        const bool isOfScale = event.type == PropertyNotify && event.xproperty.atom == XA_RESOURCE_MANAGER;
        if (isOfRandR || isOfRoot) XRRUpdateConfiguration(&event);
        mayHaveChanged = mayHaveChanged || isOfRandR || isOfRoot || isOfScale;
    }
    return mayHaveChanged || display->isDead();
}

void X11ScreenWatch::sleep() {
    pollfd descriptors[] = {{ConnectionNumber(display->get()), POLLIN, 0},
                            {wakeUp.fileDescriptor(), POLLIN, 0}};
    ::poll(descriptors, 2, -1);
}

} // namespace vintra

#include "Vintra/platform/linux/x11/X11WindowList.h"

#include "Vintra/platform/linux/x11/X11Monitors.h"
#include "Vintra/platform/linux/x11/X11Patience.h"
#include "Vintra/platform/linux/x11/X11Windows.h"

#include <optional>
#include <utility>

namespace vintra {
namespace {

int layerOf(X11Window::Kind kind) {
    switch (kind) {
    case X11Window::Kind::ordinary:
        return 0;
    case X11Window::Kind::desktop:
        return -1;
    case X11Window::Kind::dock:
        return X11WindowList::kDockLayer;
    case X11Window::Kind::passing:
        break;
    }
    return X11WindowList::kPassingLayer;
}

std::optional<std::string> unlessEmpty(std::string text) {
    if (text.empty()) return std::nullopt;
    return text;
}

CGWindowInfo infoOf(const X11Window& window, double scale) {
    return {.number = static_cast<uint32_t>(window.id),
            .bounds = pointsOf(window.frame, scale),
            .layer = layerOf(window.kind),
            .ownerPID = window.process,
            .ownerName = unlessEmpty(window.application),
            .name = unlessEmpty(window.title)};
}

} // namespace

X11WindowList::X11WindowList(std::string displayName)
    : displayName(std::move(displayName)) {}

X11WindowList::~X11WindowList() = default;

X11Display* X11WindowList::connection() const {
    if (display && !display->isDead()) return display.get();
    try {
        display = X11Display::open(displayName);
    } catch (const SystemError&) {
        display.reset();
    }
    return display.get();
}

std::vector<CGWindowInfo> X11WindowList::onScreenWindowsExcludingDesktopElements() const {
    std::vector<CGWindowInfo> list;
    X11Display* const server = connection();
    if (!server) return list;
    const X11Patience patience(*server, X11Display::kPatience);
    const double scale = readScale(*server);
    for (const X11Window& window : readWindows(*server)) {
        if (!window.isOnScreen || window.kind == X11Window::Kind::desktop) continue;
        list.push_back(infoOf(window, scale));
    }
    if (server->isDead()) return {};
    return list;
}

std::optional<CGWindowInfo> X11WindowList::window(uint32_t number) const {
    X11Display* const server = connection();
    if (!server) return std::nullopt;
    const X11Patience patience(*server, X11Display::kPatience);
    const auto found = readWindow(*server, number);
    if (!found) return std::nullopt;
    CGWindowInfo info = infoOf(*found, readScale(*server));
    if (server->isDead()) return std::nullopt;
    return info;
}

} // namespace vintra

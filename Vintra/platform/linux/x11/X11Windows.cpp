#include "Vintra/platform/linux/x11/X11Windows.h"

#include "Vintra/platform/linux/x11/X11WindowQuestions.h"

#include <X11/Xatom.h>

#include <algorithm>
#include <map>
#include <set>

namespace vintra {
namespace {

constexpr size_t kMostWindows = 4096; // more than any desktop shows
constexpr int kMostFrames = 16;       // that window managers put around one window, one in the other

/// A property's items of 32 bits; empty if it isn't there.
std::vector<unsigned long> readNumbers(X11Display& display, ::Window window, const char* name, Atom type) {
    constexpr long kMostItems = 4096;
    const Atom property = XInternAtom(display.get(), name, True);
    Atom actualType = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    std::vector<unsigned long> numbers;
    if (property == 0) return numbers;
    if (XGetWindowProperty(display.get(), window, property, 0, kMostItems, False, type, &actualType, &format,
                           &count, &left, &data) != Success) {
        return numbers;
    }
    if (data && format == 32) {
        const auto* const items = reinterpret_cast<const unsigned long*>(data);
        numbers.assign(items, items + count);
    }
    if (data) XFree(data);
    return numbers;
}

/// The windows that a window manager looks after, back to front, by the child of the root window that each is or lies in.
std::map<::Window, std::vector<::Window>> readManaged(X11WindowQuestions& questions,
                                                      const std::vector<::Window>& outermost) {
    const std::set<::Window> isOutermost(outermost.begin(), outermost.end());
    std::vector<::Window> clients = questions.managedWindows();
    clients.resize(std::min(clients.size(), kMostWindows));
    std::vector<::Window> around = clients;
    for (int level = 0; level < kMostFrames; ++level) {
        std::vector<::Window> asked;
        for (const ::Window window : around) {
            if (window != 0 && !isOutermost.contains(window)) asked.push_back(window);
        }
        if (asked.empty()) break;
        const std::map<::Window, ::Window> parents = questions.parentsOf(asked);
        for (::Window& window : around) {
            if (window != 0 && !isOutermost.contains(window)) window = parents.at(window);
        }
    }
    std::map<::Window, std::vector<::Window>> managed;
    for (size_t i = 0; i < clients.size(); ++i) {
        if (isOutermost.contains(around[i])) managed[around[i]].push_back(clients[i]);
    }
    return managed;
}

} // namespace

PixelRect withoutShadow(X11Display& display, ::Window window, PixelRect frame) {
    const auto extents = readNumbers(display, window, kShadowProperty, XA_CARDINAL);
    return withoutShadow(std::vector<uint32_t>(extents.begin(), extents.end()), frame);
}

std::optional<X11Window> readWindow(X11Display& display, ::Window id) {
    X11WindowQuestions questions(display);
    auto windows = questions.describe({id});
    if (windows.empty()) return std::nullopt;
    return windows.front();
}

std::vector<X11Window> readWindows(X11Display& display) {
    X11WindowQuestions questions(display);
    std::vector<::Window> outermost = questions.childrenOfRoot();
    auto managed = readManaged(questions, outermost);
    std::reverse(outermost.begin(), outermost.end());
    std::vector<::Window> all;
    std::set<::Window> isManaged;
    for (const ::Window window : outermost) {
        const auto within = managed.find(window);
        if (within == managed.end()) {
            all.push_back(window);
            continue;
        }
        all.insert(all.end(), within->second.rbegin(), within->second.rend());
        isManaged.insert(within->second.begin(), within->second.end());
    }
    all.resize(std::min(all.size(), kMostWindows));
    std::vector<X11Window> windows = questions.describe(all);
    // Without a window manager they are all the programs' own.
    for (X11Window& window : windows) {
        const bool isOwn = managed.empty() || isManaged.contains(window.id);
        if (!isOwn && window.kind == X11Window::Kind::ordinary) window.kind = X11Window::Kind::passing;
    }
    if (display.isDead()) return {};
    return windows;
}

std::optional<int32_t> readProcess(X11Display& display, ::Window window) {
    const auto processes = readNumbers(display, window, "_NET_WM_PID", XA_CARDINAL);
    if (processes.empty()) return std::nullopt;
    return static_cast<int32_t>(processes.front());
}

} // namespace vintra

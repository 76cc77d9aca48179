#include "Vintra/platform/linux/x11/X11Screens.h"

#include "Vintra/platform/linux/x11/X11Monitors.h"
#include "Vintra/platform/linux/x11/X11Patience.h"
#include "Vintra/platform/linux/x11/X11ScreenWatch.h"

#include <functional>
#include <optional>
#include <utility>

namespace vintra {

X11Screens::X11Screens(std::shared_ptr<MainThread> mainThread, std::string displayName)
    : mainThread(std::move(mainThread))
    , displayName(std::move(displayName)) {}

X11Screens::~X11Screens() = default;

std::vector<NSScreen> X11Screens::screens() const {
    try {
        std::optional<X11Patience> patience; // outlives the connection: closing it asks the server too
        const auto display = X11Display::open(displayName);
        patience.emplace(*display, X11Display::kPatience);
        return readScreens(*display);
    } catch (const SystemError&) {
        return {}; // no desktop, no screens
    }
}

Observation X11Screens::observeChanges(std::function<void()> block) {
    if (!watch) {
        const std::weak_ptr<Observers> told = observers;
        try {
            watch = std::make_unique<X11ScreenWatch>(displayName, [told, thread = mainThread] {
                thread->post([told] {
                    if (const auto list = told.lock()) list->tell();
                });
            });
        } catch (const SystemError&) {
            return nullptr;
        }
    }
    auto kept = std::make_shared<Block>(std::move(block));
    std::erase_if(observers->blocks, [](const auto& weak) { return weak.expired(); });
    observers->blocks.push_back(kept);
    return kept;
}

void X11Screens::Observers::tell() {
    const auto all = blocks; // a block may add another
    for (const auto& weak : all) {
        if (const auto block = weak.lock()) (*block)();
    }
}

} // namespace vintra

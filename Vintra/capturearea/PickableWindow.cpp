#include "Vintra/capturearea/PickableWindow.h"

namespace vintra {
namespace {

constexpr int kOrdinaryLayer = 0;
/// Points. Programs keep helper windows up to this size, which the user can hardly see.
constexpr double kLargestHidden = 40;

bool isPickable(const CGWindowInfo& window, int32_t ownProcess) {
    return window.layer == kOrdinaryLayer && window.ownerPID != ownProcess && window.number &&
           window.bounds && window.bounds->size.width > kLargestHidden &&
           window.bounds->size.height > kLargestHidden;
}

} // namespace

std::string PickableWindow::label() const {
    return title.empty() ? appName : appName + " — " + title;
}

std::vector<PickableWindow> pickableWindows(const std::vector<CGWindowInfo>& windows, int32_t ownProcess) {
    std::vector<PickableWindow> pickable;
    for (const CGWindowInfo& window : windows) {
        if (!isPickable(window, ownProcess)) continue;
        pickable.push_back({.id = *window.number,
                            .appName = window.ownerName.value_or("Application"),
                            .title = window.name.value_or(""),
                            .frame = *window.bounds});
    }
    return pickable;
}

} // namespace vintra

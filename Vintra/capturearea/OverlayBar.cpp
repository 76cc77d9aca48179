#include "Vintra/capturearea/OverlayBar.h"

#include "Vintra/capturearea/ControlBar.h"

#include <algorithm>
#include <type_traits>

namespace vintra {
namespace {

/// By value: what is called may replace the original.
template <typename Function, typename... Arguments>
void callIfSet(Function function, Arguments... arguments) {
    if (function) function(arguments...);
}

} // namespace

bool OverlayBar::press(CGPoint at, const CGRect& bounds, const TextMeasure& measure) {
    if (openMenu) {
        pressMenu(at, bounds, measure);
        return true;
    }
    for (const auto& item : ControlBar::layout(bounds, state, measure)) {
        if (!item.rect.contains(at)) continue;
        carryOut(item.action);
        return true;
    }
    return holds(at, bounds, measure);
}

void OverlayBar::point(CGPoint at, const CGRect& bounds, const TextMeasure& measure) {
    pointed.reset();
    if (!openMenu) return;
    for (const auto& item : ControlBar::menuItems(bounds, state, openMenu, measure)) {
        if (item.rect.contains(at)) pointed = item.index;
    }
}

void OverlayBar::pressMenu(CGPoint at, const CGRect& bounds, const TextMeasure& measure) {
    const auto items = ControlBar::menuItems(bounds, state, openMenu, measure);
    const BarMenuKind menu = *openMenu;
    openMenu.reset();
    pointed.reset();
    const auto hit = std::ranges::find_if(items, [&](const auto& item) { return item.rect.contains(at); });
    if (hit == items.end()) return;
    const auto index = static_cast<size_t>(hit->index);
    if (menu == BarMenuKind::aspect) {
        callIfSet(callbacks.onAspectPicked, kAspectPresets[index]);
    } else {
        callIfSet(callbacks.onFrameRatePicked, state.frameRateOptions[index]);
    }
}

void OverlayBar::carryOut(const BarAction& action) {
    std::visit(
        [this](const auto& does) {
            using Action = std::decay_t<decltype(does)>;
            if constexpr (std::is_same_v<Action, BarAction::Mode>) {
                callIfSet(callbacks.onModeChange, does.choice);
            } else if constexpr (std::is_same_v<Action, BarAction::AspectMenu>) {
                openMenu = BarMenuKind::aspect;
            } else if constexpr (std::is_same_v<Action, BarAction::FrameRateMenu>) {
                openMenu = BarMenuKind::frameRate;
            } else if constexpr (std::is_same_v<Action, BarAction::Clicks>) {
                callIfSet(callbacks.onClicksToggled);
            } else if constexpr (std::is_same_v<Action, BarAction::ClickColour>) {
                callIfSet(callbacks.onClickColourRequested);
            } else {
                static_assert(std::is_same_v<Action, BarAction::Done>);
                callIfSet(callbacks.onDone);
            }
        },
        action.does);
}

bool OverlayBar::holds(CGPoint point, const CGRect& bounds, const TextMeasure& measure, double slop) const {
    return std::ranges::any_of(parts(bounds, measure, slop),
                               [point](const CGRect& part) { return part.contains(point); });
}

std::vector<CGRect> OverlayBar::parts(const CGRect& bounds, const TextMeasure& measure, double slop) const {
    std::vector<CGRect> result{ControlBar::containerRect(bounds, state, measure).insetBy(-slop, -slop)};
    const auto menu = ControlBar::menuContainer(bounds, state, openMenu, measure);
    if (menu) result.push_back(menu->insetBy(-slop, -slop));
    return result;
}

void OverlayBar::draw(const CGRect& bounds, Drawing& drawing) const {
    ControlBar::draw(bounds, state, drawing);
    ControlBar::drawMenu(bounds, state, openMenu, drawing, pointed);
}

} // namespace vintra

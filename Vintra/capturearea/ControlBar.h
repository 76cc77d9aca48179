#pragma once

#include "Vintra/capturearea/BarAction.h"
#include "Vintra/capturearea/BarMenuKind.h"
#include "Vintra/capturearea/BarState.h"
#include "Vintra/platform/Drawing.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// The strip of buttons with which the user changes what is captured, on the screen itself; it is the same in
/// every overlay. Pure functions: an overlay uses them to draw and to find what a click has hit. `in` is
/// the overlay's bounds; all rectangles are in its coordinates, the origin at the bottom left. Main thread.
namespace ControlBar {

struct Item {
    BarAction action;
    CGRect rect;
    bool operator==(const Item&) const = default;
};

struct MenuItem {
    int index = 0; ///< among the aspect presets, or the state's frame rate options
    std::string title;
    CGRect rect;
    bool isOn = false;
    bool operator==(const MenuItem&) const = default;
};

/// The buttons from left to right, in drawing order.
std::vector<Item> layout(const CGRect& in, const BarState& state, const TextMeasure& measure);
/// The strip behind the buttons.
CGRect containerRect(const CGRect& in, const BarState& state, const TextMeasure& measure);
/// The open menu's items from top to bottom; none if the bar doesn't show the menu's button.
std::vector<MenuItem> menuItems(const CGRect& in, const BarState& state, std::optional<BarMenuKind> openMenu,
                                const TextMeasure& measure);
/// The card behind the items.
std::optional<CGRect> menuContainer(const CGRect& in, const BarState& state,
                                    std::optional<BarMenuKind> openMenu, const TextMeasure& measure);

void draw(const CGRect& in, const BarState& state, Drawing& drawing);
/// `pointed` is the index of the item that the pointer is at.
void drawMenu(const CGRect& in, const BarState& state, std::optional<BarMenuKind> openMenu, Drawing& drawing,
              std::optional<int> pointed = std::nullopt);

} // namespace ControlBar
} // namespace vintra

#include "Vintra/capturearea/ControlBar.h"

#include <algorithm>
#include <utility>

namespace vintra::ControlBar {
namespace {

constexpr NSFont kFont{12, NSFontWeight::medium};
constexpr double kTextPadding = 24;
constexpr double kSwatchWidth = 30;
constexpr double kGroupGap = 18;
constexpr double kGap = 6;
constexpr double kItemHeight = 30;
constexpr double kDistanceFromBottom = 44;
constexpr double kContainerMarginX = 10;
constexpr double kContainerMarginY = 8;

constexpr double kMenuItemHeight = 24;
constexpr double kMenuItemGap = 2;
constexpr double kMenuMargin = 4;
constexpr double kMenuPadding = 10;
constexpr double kLeastMenuWidth = 112;
/// Room for the mark of the item that is on.
constexpr double kMarkWidth = 20;
/// Between the strip behind the buttons and the card of a menu.
constexpr double kMenuDistance = 8;
constexpr const char* kMark = "✓";

struct Part {
    BarAction action;
    double width = 0;
    bool beginsGroup = false;
};

std::string rateTitle(int frameRate) {
    return std::to_string(frameRate) + " fps";
}

template <typename... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

std::string modeTitle(CaptureModeChoice choice) {
    switch (choice) {
    case CaptureModeChoice::fullScreen:
        return "Full screen";
    case CaptureModeChoice::region:
        return "Selected area";
    case CaptureModeChoice::window:
        return "Window";
    }
    return "";
}

/// Empty for the swatch, which is no text.
std::string title(const BarAction& action, const BarState& state) {
    return std::visit(Overloaded{[](BarAction::Mode mode) { return modeTitle(mode.choice); },
                                 [&](BarAction::AspectMenu) { return barLabel(state.aspect) + "  ⌃"; },
                                 [&](BarAction::FrameRateMenu) { return rateTitle(state.frameRate) + "  ⌃"; },
                                 [](BarAction::Clicks) { return std::string("Show clicks"); },
                                 [](BarAction::ClickColour) { return std::string(); },
                                 [](BarAction::Done) { return std::string("Done"); }},
                      action.does);
}

std::vector<Part> parts(const BarState& state, const TextMeasure& measure) {
    std::vector<Part> result;
    const auto addText = [&](BarAction action, bool beginsGroup) {
        const double width = measure.textSize(title(action, state), kFont).width + kTextPadding;
        result.push_back({action, width, beginsGroup});
    };
    const auto addSwatch = [&] { result.push_back({{BarAction::ClickColour{}}, kSwatchWidth, false}); };
    if (state.isRecording) {
        if (state.clicksAvailable && state.clicksOn) addSwatch();
    } else {
        for (const auto choice :
             {CaptureModeChoice::fullScreen, CaptureModeChoice::region, CaptureModeChoice::window}) {
            if (choice == CaptureModeChoice::window && !state.windowsAvailable) continue;
            addText({BarAction::Mode{choice}}, false);
        }
        if (state.mode == CaptureModeChoice::region) addText({BarAction::AspectMenu{}}, true);
        addText({BarAction::FrameRateMenu{}}, true);
        if (state.clicksAvailable) {
            addText({BarAction::Clicks{}}, true);
            addSwatch();
        }
    }
    addText({BarAction::Done{}}, true);
    return result;
}

bool isOn(const BarAction& action, const BarState& state) {
    if (const auto* mode = std::get_if<BarAction::Mode>(&action.does)) return mode->choice == state.mode;
    return std::holds_alternative<BarAction::Clicks>(action.does) && state.clicksOn;
}

BarAction buttonOf(BarMenuKind menu) {
    if (menu == BarMenuKind::aspect) return {BarAction::AspectMenu{}};
    return {BarAction::FrameRateMenu{}};
}

/// Titles, and whether each is on.
std::vector<std::pair<std::string, bool>> menuTitles(const BarState& state, BarMenuKind menu) {
    std::vector<std::pair<std::string, bool>> result;
    if (menu == BarMenuKind::aspect) {
        for (const AspectPreset preset : kAspectPresets) {
            result.emplace_back(barLabel(preset), preset == state.aspect);
        }
    } else {
        for (const int rate : state.frameRateOptions) {
            result.emplace_back(rateTitle(rate), rate == state.frameRate);
        }
    }
    return result;
}

void drawCentred(const std::string& text, const CGRect& in, const NSColor& color, Drawing& drawing) {
    const CGSize size = drawing.textSize(text, kFont);
    drawing.drawText(text, {in.midX() - size.width / 2, in.midY() - size.height / 2}, kFont, color);
}

void drawSwatch(const CGRect& in, const BarState& state, Drawing& drawing) {
    const CGRect circle = in.insetBy(7, 7);
    drawing.fillEllipse(circle, state.clickColour);
    drawing.strokeEllipse(circle, 1, NSColor::white());
}

void drawSeparators(const std::vector<Item>& items, Drawing& drawing) {
    for (size_t n = 1; n < items.size(); ++n) {
        const double left = items[n - 1].rect.maxX();
        const double gap = items[n].rect.minX() - left;
        if (gap <= 7) continue;
        drawing.fillRect({{left + gap / 2 - 0.5, items[n].rect.minY() + 5}, {1, 20}}, 0,
                         NSColor::white(0.18));
    }
}

} // namespace

std::vector<Item> layout(const CGRect& in, const BarState& state, const TextMeasure& measure) {
    const auto all = parts(state, measure);
    const auto gapBefore = [&](size_t n) { return n == 0 ? 0.0 : all[n].beginsGroup ? kGroupGap : kGap; };
    double total = 0;
    for (size_t n = 0; n < all.size(); ++n)
        total += gapBefore(n) + all[n].width;
    double x = in.midX() - total / 2;
    const double y = in.minY() + kDistanceFromBottom;
    std::vector<Item> result;
    for (size_t n = 0; n < all.size(); ++n) {
        x += gapBefore(n);
        result.push_back({all[n].action, {{x, y}, {all[n].width, kItemHeight}}});
        x += all[n].width;
    }
    return result;
}

CGRect containerRect(const CGRect& in, const BarState& state, const TextMeasure& measure) {
    const auto items = layout(in, state, measure);
    if (items.empty()) return {};
    const CGRect all = CGRectUnion(items.front().rect, items.back().rect);
    return all.insetBy(-kContainerMarginX, -kContainerMarginY);
}

std::vector<MenuItem> menuItems(const CGRect& in, const BarState& state, std::optional<BarMenuKind> openMenu,
                                const TextMeasure& measure) {
    if (!openMenu) return {};
    const auto items = layout(in, state, measure);
    const auto button =
        std::ranges::find_if(items, [&](const Item& item) { return item.action == buttonOf(*openMenu); });
    if (button == items.end()) return {};
    const auto titles = menuTitles(state, *openMenu);
    double width = std::max(kLeastMenuWidth, button->rect.size.width);
    for (const auto& [text, on] : titles) {
        width = std::max(width, measure.textSize(text, kFont).width + 2 * kMenuPadding + kMarkWidth);
    }
    std::vector<MenuItem> result;
    double y = button->rect.maxY() + kContainerMarginY + kMenuDistance + kMenuMargin +
               static_cast<double>(titles.size()) * (kMenuItemHeight + kMenuItemGap) - kMenuItemGap;
    for (const auto& [text, on] : titles) {
        y -= kMenuItemHeight;
        result.push_back({static_cast<int>(result.size()),
                          text,
                          {{button->rect.midX() - width / 2, y}, {width, kMenuItemHeight}},
                          on});
        y -= kMenuItemGap;
    }
    return result;
}

std::optional<CGRect> menuContainer(const CGRect& in, const BarState& state,
                                    std::optional<BarMenuKind> openMenu, const TextMeasure& measure) {
    const auto items = menuItems(in, state, openMenu, measure);
    if (items.empty()) return std::nullopt;
    return CGRectUnion(items.front().rect, items.back().rect).insetBy(-kMenuMargin, -kMenuMargin);
}

void draw(const CGRect& in, const BarState& state, Drawing& drawing) {
    drawing.fillRect(containerRect(in, state, drawing), 10, NSColor::black(0.8));
    const auto items = layout(in, state, drawing);
    drawSeparators(items, drawing);
    for (const auto& [action, rect] : items) {
        if (std::holds_alternative<BarAction::ClickColour>(action.does)) {
            drawSwatch(rect, state, drawing);
            continue;
        }
        const bool on = isOn(action, state);
        drawing.fillRect(rect, 6, on ? NSColor::white() : NSColor::white(0.14));
        drawCentred(title(action, state), rect, on ? NSColor::black() : NSColor::white(), drawing);
    }
}

void drawMenu(const CGRect& in, const BarState& state, std::optional<BarMenuKind> openMenu, Drawing& drawing,
              std::optional<int> pointed) {
    const auto container = menuContainer(in, state, openMenu, drawing);
    if (!container) return;
    drawing.fillRect(*container, 8, NSColor::black());
    for (const auto& item : menuItems(in, state, openMenu, drawing)) {
        if (item.isOn) {
            drawing.fillRect(item.rect, 5, NSColor::white(0.16));
        } else if (item.index == pointed) {
            drawing.fillRect(item.rect, 5, NSColor::white(0.08));
        }
        const auto place = [&](double x, const std::string& text) {
            return CGPoint{x, item.rect.midY() - drawing.textSize(text, kFont).height / 2};
        };
        drawing.drawText(item.title, place(item.rect.minX() + kMenuPadding, item.title), kFont,
                         NSColor::white());
        if (!item.isOn) continue;
        const double markWidth = drawing.textSize(kMark, kFont).width;
        drawing.drawText(kMark, place(item.rect.maxX() - kMenuPadding - markWidth, kMark), kFont,
                         NSColor::white());
    }
}

} // namespace vintra::ControlBar

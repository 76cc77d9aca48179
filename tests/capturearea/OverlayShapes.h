#pragma once

#include "Vintra/capturearea/ControlBar.h"
#include "Vintra/platform/DrawListDrawing.h"
#include "Vintra/platform/simulated/SimulatedOverlayWindows.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

inline const SimulatedOverlayWindows::Measure kOverlayMeasure;

inline void expectSameRect(const CGRect& actual, const CGRect& expected) {
    EXPECT_NEAR(actual.minX(), expected.minX(), 1e-6);
    EXPECT_NEAR(actual.minY(), expected.minY(), 1e-6);
    EXPECT_NEAR(actual.size.width, expected.size.width, 1e-6);
    EXPECT_NEAR(actual.size.height, expected.size.height, 1e-6);
}

/// Of the texts of a list, in order.
inline std::vector<std::string> textsOf(const DrawList& list) {
    std::vector<std::string> texts;
    for (const auto& shape : list.shapes) {
        if (const auto* text = std::get_if<DrawList::Text>(&shape)) texts.push_back(text->text);
    }
    return texts;
}

inline bool showsText(const DrawList& list, const std::string& text) {
    for (const auto& each : textsOf(list)) {
        if (each == text) return true;
    }
    return false;
}

inline bool hasShape(const DrawList& list, const DrawList::Shape& shape) {
    for (const auto& each : list.shapes) {
        if (each == shape) return true;
    }
    return false;
}

/// The shapes that a bar alone makes up.
inline std::vector<DrawList::Shape> barShapes(const CGRect& bounds, const BarState& state,
                                              std::optional<BarMenuKind> menu = std::nullopt) {
    DrawListDrawing drawing(kOverlayMeasure);
    ControlBar::draw(bounds, state, drawing);
    ControlBar::drawMenu(bounds, state, menu, drawing);
    return drawing.list.shapes;
}

/// The middle of the bar's button.
inline CGPoint buttonCentre(const CGRect& bounds, const BarState& state, const BarAction& action) {
    for (const auto& item : ControlBar::layout(bounds, state, kOverlayMeasure)) {
        if (item.action == action) return {item.rect.midX(), item.rect.midY()};
    }
    ADD_FAILURE() << "the bar has no such button";
    return {};
}

inline CGPoint menuItemCentre(const CGRect& bounds, const BarState& state, BarMenuKind menu, size_t index) {
    const auto rect = ControlBar::menuItems(bounds, state, menu, kOverlayMeasure).at(index).rect;
    return {rect.midX(), rect.midY()};
}

} // namespace vintra

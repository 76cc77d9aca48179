#pragma once

#include "Vintra/platform/Drawing.h"

#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// What is to be seen in an overlay, as values: the calls of a `Drawing` in their order. Two equal lists look
/// the same, so an overlay that has nothing new to show need not be drawn again.
struct DrawList {
    struct FilledRect {
        CGRect rect;
        double cornerRadius = 0;
        NSColor color;
        bool operator==(const FilledRect&) const = default;
    };
    struct FilledSurround {
        CGRect hole;
        CGRect outer;
        NSColor color;
        bool operator==(const FilledSurround&) const = default;
    };
    struct StrokedRect {
        CGRect rect;
        double lineWidth = 0;
        NSColor color;
        bool operator==(const StrokedRect&) const = default;
    };
    struct FilledEllipse {
        CGRect in;
        NSColor color;
        bool operator==(const FilledEllipse&) const = default;
    };
    struct StrokedEllipse {
        CGRect in;
        double lineWidth = 0;
        NSColor color;
        bool operator==(const StrokedEllipse&) const = default;
    };
    struct Text {
        std::string text;
        CGPoint at;
        NSFont font;
        NSColor color;
        bool operator==(const Text&) const = default;
    };
    using Shape = std::variant<FilledRect, FilledSurround, StrokedRect, FilledEllipse, StrokedEllipse, Text>;

    std::vector<Shape> shapes;
    bool operator==(const DrawList&) const = default;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/FloatingPreviewWindows.h"

#include <cstddef>
#include <string>
#include <vector>

namespace vintra {

/// What lies over a camera's picture in its preview window while the pointer is in it. Owned by the window's view. Main
/// thread.
class WebcamPreviewView {
public:
    struct Pill {
        std::string title; ///< "S", "M", "L"
        std::string name;  ///< the size's own, for those who don't see the pill
        bool isChosen = false;
        bool operator==(const Pill&) const = default;
    };
    struct State {
        bool showsControls = false; ///< the close button, the pills and the grip
        std::vector<Pill> pills;
        bool showsPreviewOnly = false;
        bool operator==(const State&) const = default;
    };
    static constexpr const char* kCloseImage = "xmark";
    static constexpr const char* kCloseHelp = "Hide the preview — the webcam keeps recording";
    static constexpr const char* kHelp = "Drag to move · corner to resize";
    static constexpr const char* kPreviewOnly = "Preview only";
    static constexpr double kPillTextSize = 10;       ///< bold
    static constexpr double kPreviewOnlyTextSize = 9; ///< medium
    static constexpr double kLayerOpacity = 0.001;    ///< where clicks must be noticed

    explicit WebcamPreviewView(FloatingPreviewContent content);

    State state() const;
    void setHovering(bool hovering) { isHovering = hovering; }
    void setContent(FloatingPreviewContent newContent) { content = std::move(newContent); }
    /// A pill was pressed, by its index.
    void pick(size_t size);
    void close();

private:
    FloatingPreviewContent content;
    bool isHovering = false;
};

} // namespace vintra

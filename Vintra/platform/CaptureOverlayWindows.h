#pragma once

#include "Vintra/platform/Screens.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace vintra {

/// The windows on the screen by which its captured part is chosen and shown: the region guide, the pickers of
/// a region and of a window, the click highlight. A program that has windows draws them. Main thread.
class CaptureOverlayWindows {
public:
    virtual ~CaptureOverlayWindows() = default;
    /// What the guide shows, or whether it shows, may have changed.
    virtual void syncRegionGuide() = 0;
    virtual void beginRegionSelection() = 0;
    virtual void beginWindowSelection() = 0;
    /// Whether clicks are to be seen may have changed.
    virtual void syncClickHighlight() = 0;
    /// Puts the click highlight over the whole screen, in front. Its window's number; nothing if there is
    /// none.
    virtual std::optional<uint32_t> placeClickHighlight(const NSScreen& on) = 0;
    /// Whether the machine can show the guide at all.
    virtual bool canShowGuide() const = 0;
    /// Whether the machine can show clicks at all.
    virtual bool canShowClicks() const = 0;
    /// What is in the picture of the take leaves the screen. Calls back once that can be seen, perhaps at once.
    virtual void takeWillStart(std::function<void()> whenShown) = 0;
    /// It failed after `takeWillStart`.
    virtual void takeDidNotStart() = 0;
};

/// Of a program without windows.
class NoCaptureOverlayWindows final : public CaptureOverlayWindows {
public:
    void syncRegionGuide() override {}
    void beginRegionSelection() override {}
    void beginWindowSelection() override {}
    void syncClickHighlight() override {}
    std::optional<uint32_t> placeClickHighlight(const NSScreen&) override { return std::nullopt; }
    bool canShowGuide() const override { return false; }
    bool canShowClicks() const override { return false; }
    void takeWillStart(std::function<void()> whenShown) override { whenShown(); }
    void takeDidNotStart() override {}
};

} // namespace vintra

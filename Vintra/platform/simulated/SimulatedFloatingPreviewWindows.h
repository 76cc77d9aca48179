#pragma once

#include "Vintra/platform/FloatingPreviewWindows.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// A preview window of a simulated machine: its state, and what was done with it, in order. Main thread.
class SimulatedFloatingPreviewWindow final : public FloatingPreviewWindow {
public:
    /// The frames that windows are kept at, by their autosave names.
    using SavedFrames = std::map<std::string, CGRect>;

    SimulatedFloatingPreviewWindow(const FloatingPreviewRecipe& recipe,
                                   std::shared_ptr<SavedFrames> savedFrames);

    CGRect frame() const override { return place; }
    void setFrame(const CGRect& frame) override;
    bool hasSavedFrame() const override { return savedFrames->contains(recipe.frameAutosaveName); }
    void setContent(FloatingPreviewContent newContent) override;
    void orderFront() override;
    void orderOut() override;
    void setAlphaValue(double newAlpha) override { alpha = newAlpha; }
    void setIgnoresMouseEvents(bool ignores) override { ignoresMouse = ignores; }
    void close() override;

    const FloatingPreviewRecipe recipe;
    FloatingPreviewContent content;
    double alpha = 1;
    bool ignoresMouse = false;
    bool isOnScreen = false;
    bool isClosed = false;
    std::vector<std::string> calls; ///< "frame", "content", "front", "out", "close"

private:
    const std::shared_ptr<SavedFrames> savedFrames;
    CGRect place;
};

/// Makes preview windows that a test can look at. The screen is one of 1440 × 900 points, of which a panel
/// takes the upper 24. Main thread.
class SimulatedFloatingPreviewWindows final : public FloatingPreviewWindows {
public:
    std::shared_ptr<FloatingPreviewWindow> makeWindow(const FloatingPreviewRecipe& recipe) override;
    CGRect visibleFrame() const override { return visible; }

    /// The window made last under that name that isn't closed; null if there is none.
    std::shared_ptr<SimulatedFloatingPreviewWindow> window(const std::string& frameAutosaveName) const;

    CGRect visible{{0, 24}, {1440, 876}};
    std::vector<std::shared_ptr<SimulatedFloatingPreviewWindow>> windows; ///< every one that was made
    const std::shared_ptr<SimulatedFloatingPreviewWindow::SavedFrames> savedFrames =
        std::make_shared<SimulatedFloatingPreviewWindow::SavedFrames>();
};

} // namespace vintra

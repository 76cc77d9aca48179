#pragma once

#include "Vintra/platform/OverlayWindows.h"

#include <memory>
#include <vector>

namespace vintra {

/// An overlay of a simulated machine: its state, and what was done with it. A test plays the user through
/// `input`. Main thread.
class SimulatedOverlayWindow final : public OverlayWindow {
public:
    /// What is left of a window when it has gone.
    struct State {
        OverlayRecipe recipe;
        OverlayInput* input = nullptr; ///< null once the window has gone
        uint32_t number = 0;
        CGRect frame;
        bool ignoresMouseEvents = false;
        std::vector<CGRect> interactiveParts;
        bool isOnScreen = false;
        DrawList list;
        int presentations = 0;
        int timesInFront = 0;
    };

    SimulatedOverlayWindow(const OverlayRecipe& recipe, OverlayInput& input, uint32_t number);
    ~SimulatedOverlayWindow() override;

    uint32_t windowNumber() const override { return state->number; }
    void setFrame(const CGRect& frame) override { state->frame = frame; }
    void setIgnoresMouseEvents(bool ignores) override { state->ignoresMouseEvents = ignores; }
    void setInteractiveParts(const std::vector<CGRect>& parts) override { state->interactiveParts = parts; }
    void present(const DrawList& list) override;
    void orderFront() override;
    void orderOut() override { state->isOnScreen = false; }

    const std::shared_ptr<State> state = std::make_shared<State>();
};

/// Makes overlays that a test can look at. Text is 10 high, and 5 wide for each character. Main thread.
class SimulatedOverlayWindows final : public OverlayWindows {
public:
    class Measure final : public TextMeasure {
    public:
        CGSize textSize(const std::string& text, const NSFont& font) const override;
    };

    std::unique_ptr<OverlayWindow> makeWindow(const OverlayRecipe& recipe, OverlayInput& input) override;
    bool canLetClicksThrough() const override { return letsClicksThrough; }
    const TextMeasure& textMeasure() const override { return measure; }
    bool areCaptured() const override { return inPicture; }
    int64_t nanosecondsUntilShown() const override { return untilShown; }

    /// The window made last, whether it is still there or not. There must be one.
    SimulatedOverlayWindow::State& last() { return *made.back(); }

    bool makesNone = false;
    bool letsClicksThrough = true;
    bool inPicture = false;
    int64_t untilShown = 0;
    std::vector<std::shared_ptr<SimulatedOverlayWindow::State>> made; ///< every one, in order

private:
    Measure measure;
};

} // namespace vintra

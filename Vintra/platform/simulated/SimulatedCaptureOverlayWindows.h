#pragma once

#include "Vintra/platform/CaptureOverlayWindows.h"

#include <string>
#include <vector>

namespace vintra {

/// Takes down what the overlays were told, in order. Main thread.
class SimulatedCaptureOverlayWindows final : public CaptureOverlayWindows {
public:
    void syncRegionGuide() override { calls.emplace_back("guide"); }
    void beginRegionSelection() override { calls.emplace_back("region selection"); }
    void beginWindowSelection() override { calls.emplace_back("window selection"); }
    void syncClickHighlight() override { calls.emplace_back("clicks"); }
    std::optional<uint32_t> placeClickHighlight(const NSScreen& on) override {
        calls.push_back("clicks on " + on.localizedName);
        return clickHighlightWindow;
    }

    bool canShowGuide() const override { return true; }
    bool canShowClicks() const override { return true; }
    void takeWillStart(std::function<void()> whenShown) override {
        calls.emplace_back("take will start");
        whenShown();
    }
    void takeDidNotStart() override { calls.emplace_back("take did not start"); }

    std::vector<std::string> calls;
    std::optional<uint32_t> clickHighlightWindow; ///< the number of the window that is placed
};

} // namespace vintra

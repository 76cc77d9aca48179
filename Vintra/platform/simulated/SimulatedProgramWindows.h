#pragma once

#include "Vintra/platform/ProgramWindows.h"

#include <string>
#include <vector>

namespace vintra {

/// Windows that note what is asked of them. Main thread.
class SimulatedProgramWindows final : public ProgramWindows {
public:
    bool hasMainWindow = true;
    bool isMainWindowShown = true;
    std::vector<std::string> calls; ///< "front", "open", "away", "dismiss", "terminate"

    bool bringMainWindowToFront() override {
        if (hasMainWindow) calls.emplace_back("front");
        return hasMainWindow;
    }
    void openMainWindow() override {
        calls.emplace_back("open");
        hasMainWindow = true;
    }
    bool putMainWindowAway() override {
        if (isMainWindowShown) calls.emplace_back("away");
        return isMainWindowShown;
    }
    void dismissPanel() override { calls.emplace_back("dismiss"); }
    void terminate() override { calls.emplace_back("terminate"); }
};

} // namespace vintra

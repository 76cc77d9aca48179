#pragma once

#include "Vintra/platform/ProgramRemoval.h"

#include <functional>
#include <utility>
#include <vector>

namespace vintra {

/// A removal that waits for the test to say how it ends. Main thread.
class SimulatedProgramRemoval final : public ProgramRemoval {
public:
    /// Called as a removal begins.
    std::function<void()> onRun = [] {};
    std::vector<std::function<void(Outcome)>> runs;
    URL caches = URL::fileURL("/home/user/Library/Caches/com.kestrelworks.screenrecorder.v2");

    void run(std::function<void(Outcome)> onEnd) override {
        onRun();
        runs.push_back(std::move(onEnd));
    }
    URL cachesFolder() const override { return caches; }
};

} // namespace vintra

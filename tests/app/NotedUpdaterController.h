#pragma once

#include "Vintra/platform/SPUStandardUpdaterController.h"

namespace vintra {

/// An updater that only counts how often it is asked.
class NotedUpdaterController final : public SPUStandardUpdaterController, private SPUUpdater {
public:
    int checks = 0;
    SPUUpdater& updater() override { return *this; }

private:
    void checkForUpdates() override { ++checks; }
};

} // namespace vintra

#pragma once

#include "Vintra/capturearea/PickableWindow.h"
#include "tools/vintra-take/InputChoice.h"
#include "tools/vintra-take/KnownDisplay.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What can be recorded on this machine.
struct MachineList {
    std::vector<KnownDisplay> displays;
    std::optional<std::string> screenProblem; ///< why there are no displays
    std::vector<PickableWindow> windows;      ///< front to back
    std::optional<std::string> windowProblem; ///< why there can be no windows
    std::vector<KnownInput> inputs;
    std::optional<std::string> soundProblem; ///< why there are no inputs
};

std::string textOf(const MachineList& list);
/// One JSON object with "displays", "windows" and "inputs", and a line feed behind.
std::string jsonOf(const MachineList& list);

} // namespace vintra

#pragma once

#include "Vintra/take/CaptureDisplay.h"
#include "tools/vintra-take/InputChoice.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What can be recorded on this machine.
struct MachineList {
    std::vector<CaptureDisplay> displays;
    std::optional<std::string> screenProblem; ///< why there are no displays
    std::vector<KnownInput> inputs;
    std::optional<std::string> soundProblem; ///< why there are no inputs
};

std::string textOf(const MachineList& list);
/// One JSON object with "displays" and "inputs", and a line feed behind.
std::string jsonOf(const MachineList& list);

} // namespace vintra

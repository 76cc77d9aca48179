#pragma once

#include "Vintra/capturearea/PickableWindow.h"
#include "tools/vintra-take/CameraChoice.h"
#include "tools/vintra-take/InputChoice.h"
#include "tools/vintra-take/KnownDisplay.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A device that the computer's sound can be heard on.
struct KnownOutput {
    std::string id;
    std::string name;
    double rate = 0;        ///< hertz; 0 if it can't be read
    bool isDefault = false; ///< where programs play to
};

/// What can be recorded on this machine.
struct MachineList {
    std::vector<KnownDisplay> displays;
    std::optional<std::string> screenProblem; ///< why there are no displays
    std::vector<PickableWindow> windows;      ///< front to back
    std::optional<std::string> windowProblem; ///< why there can be no windows
    std::vector<KnownCamera> cameras;
    std::vector<KnownInput> inputs;
    std::vector<KnownOutput> outputs;
    std::optional<std::string> soundProblem;         ///< why there are no inputs and outputs
    std::optional<std::string> computerAudioProblem; ///< why the computer's own sound can't be recorded
};

std::string textOf(const MachineList& list);
/// One JSON object with "displays", "windows", "cameras", "inputs" and "outputs", and a line feed behind.
std::string jsonOf(const MachineList& list);

} // namespace vintra

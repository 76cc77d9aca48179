#pragma once

#include "Vintra/app/MenuState.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

struct AudioSelection;

/// "None" and the devices. Without any device the menu is disabled and says `withoutDevices`. A chosen device that isn't
/// among them, as one that went in a take, is an option still: "Unavailable device".
MenuState deviceMenu(std::vector<MenuOption> devices, const std::optional<std::string>& selected,
                     const std::string& withoutDevices);

/// The sound inputs but for Vintra's own device, which has a row of its own, last used first.
std::vector<MenuOption> realAudioInputs(const AudioSelection& of);

} // namespace vintra

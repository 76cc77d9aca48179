#pragma once

#include "Vintra/audio/SoundAccount.h"
#include "Vintra/take/TakeWarnings.h"

#include <optional>
#include <string>

namespace vintra {

/// What the user is told of the sound that a track has lost; nothing if it has lost none. The end of a track
/// that is told as short counts as told.
std::optional<std::string> soundLossWarning(const std::string& trackName, const SoundAccount& account,
                                            bool isToldAsShort);

/// The same with every place, for the log; empty if nothing was lost or cut.
std::string soundLossLog(const std::string& trackName, const SoundAccount& account);

/// As in "drifted 37 ppm, 266 ms over 2:00:00, corrected"; nothing where no drift could be told.
std::optional<std::string> driftText(const SoundAccount& account);

} // namespace vintra

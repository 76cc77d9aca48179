#pragma once

#include "Vintra/audio/SoundTrackFile.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/take/WavRetiming.h"

#include <optional>

namespace vintra {

/// False in the settings leaves every file as its device's clock made it.
inline constexpr const char* kCorrectsSoundDriftKey = "correctsSoundDrift";

/// What brings the sound of a track to the host clock, to be done once its file is closed. Nothing as long as
/// its end lies within half a frame of where it belongs: no take of ordinary length is touched. `end` is that
/// of the take, `frameRate` that of its screen, in frames a second.
std::optional<WavRetiming> driftCorrection(const SoundTrackFile& track, CMTime end, int frameRate);

} // namespace vintra

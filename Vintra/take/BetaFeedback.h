#pragma once

#include "Vintra/platform/CrashReportFolder.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/WallClock.h"

#include <cstddef>
#include <optional>
#include <string>

namespace vintra {

/// What helps the makers to find out what went wrong.
namespace BetaFeedback {

/// The newest crash report of this program, if it is less than a day old; a longer one is cut, with a line
/// that says where all of it is. Nothing without one, or if it can't be read or isn't text. `maxCharacters` counts Unicode scalars. Any
/// thread; it reads files.
std::optional<std::string> latestCrashReport(FileManager& files, const CrashReportFolder& in, Date now,
                                             size_t maxCharacters);

} // namespace BetaFeedback
} // namespace vintra

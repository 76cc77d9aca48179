#pragma once

#include "Vintra/platform/CrashReportFolder.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/MachineFacts.h"
#include "Vintra/platform/WallClock.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vintra {

/// What helps the makers to find out what went wrong.
namespace BetaFeedback {

/// The address of the public web form on which users tell what went wrong, as the build was given it. It holds the text
/// "REPLACE_WITH" if it was given none.
extern const std::string_view formURL;

/// What has led to the form: the report button, the card after a crash, the card after a take.
enum class Route { button, crash, afterTake };

/// The address of the form with the fields of the setup filled in; nothing if no form is set up.
std::optional<std::string> reportURL(Route from, const MachineFacts& facts, std::string_view form = formURL);

/// "1.2.3 (45)".
std::string buildText(const MachineFacts& facts);

/// The newest crash report of this program, if it is less than a day old; a longer one is cut, with a line
/// that says where all of it is. Nothing without one, or if it can't be read or isn't text. `maxCharacters` counts Unicode scalars. Any
/// thread; it reads files.
std::optional<std::string> latestCrashReport(FileManager& files, const CrashReportFolder& in, Date now,
                                             size_t maxCharacters);

} // namespace BetaFeedback
} // namespace vintra

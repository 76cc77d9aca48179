#pragma once

#include "Vintra/platform/URL.h"

#include <string>

namespace vintra {

/// What the system keeps of crashes, where systemd collects core dumps: it also knows of those in which the process
/// could report nothing of itself.
namespace CoreDumps {

/// Writes what coredumpctl tells of the program's newest dump of the last day into the folder, as a report named
/// after the program, unless the folder has a report of that process. Without coredumpctl, or where it doesn't answer
/// within 5 s, nothing is written. Blocks meanwhile. Any thread.
void gather(const URL& folder, const std::string& programName, const std::string& executablePath);

} // namespace CoreDumps
} // namespace vintra

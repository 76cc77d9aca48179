#pragma once

#include "Vintra/platform/WallClock.h"

#include <string>

namespace vintra {

/// "session_" and the current local time as "yyyy-MM-dd_HHmmss".
std::string generateSessionName(const WallClock& wallClock);

/// What the user typed as the front part of file names: no blanks around it, not hidden, without "/" and ":".
/// A generated name if nothing is left.
std::string sanitizedSessionName(const std::string& name, const WallClock& wallClock);

} // namespace vintra

#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/URL.h"
#include "Vintra/platform/WallClock.h"

#include <string>

namespace vintra {

/// "session_" and the current local time as "yyyy-MM-dd_HHmmss".
std::string generateSessionName(const WallClock& wallClock);

/// What the user typed as the front part of file names: no blanks around it, not hidden, without "/", ":" and
/// control characters.
/// A generated name if nothing is left.
std::string sanitizedSessionName(const std::string& name, const WallClock& wallClock);

/// The name, or the first of name-2, name-3, ... that no take in the folder has.
std::string unusedSessionName(const FileManager& files, const URL& inFolder, const std::string& name);

} // namespace vintra

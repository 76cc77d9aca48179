#pragma once

#include "Vintra/take/RecoveredTake.h"

#include <string>
#include <vector>

namespace vintra {

/// What the recovery of a folder has come to.
struct RecoveryOutcome {
    std::vector<RecoveredTake> takes;
    std::vector<std::string> problems; ///< sentences

    /// 0 if every take is whole, else 1.
    int exitCode() const;
};

/// Puts the takes in the folder in order. Needs neither a desktop nor a sound server. Throws `SystemError` if the folder
/// can't be read.
RecoveryOutcome recoverTakes(const std::string& folder, bool isVerbose);

/// A line for each take.
std::string textOf(const RecoveryOutcome& outcome);
/// One JSON object, with a line feed behind.
std::string jsonOf(const RecoveryOutcome& outcome);

} // namespace vintra

#pragma once

#include <string>
#include <vector>

namespace vintra {

/// A program that was run to its end.
struct ProgramRun {
    int exitCode = -1; ///< 128 + the signal that ended it; -1 if it could not be started
    std::string output;
    std::string errors;
};

/// Runs the program, found by PATH, with its arguments; waits for its end.
ProgramRun runProgram(const std::vector<std::string>& command);

} // namespace vintra

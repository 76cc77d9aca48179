#pragma once

#include "Vintra/platform/ProgramCommand.h"

namespace vintra {

/// Has the program that runs carry the command out, and says on the terminal what became of it. Needs no display.
/// Returns the exit code.
int runCommand(ProgramCommand command);

} // namespace vintra

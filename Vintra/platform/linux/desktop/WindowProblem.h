#pragma once

#include <string>

namespace vintra {

/// Why this process can't open a window, as a sentence for the terminal; empty where it can. A toolkit only ends the
/// process then. Before the toolkit's application object.
std::string windowProblem();

} // namespace vintra

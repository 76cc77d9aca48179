#pragma once

#include "Vintra/take/SavedFile.h"

#include <string>

namespace vintra {

// How the files of a finished take lie against its common start, in numbers. Pure functions: any thread.

/// Seconds from the common start to the file's first frame: less than a frame for one that was put in its place.
double startOffset(const SavedFile& file);

/// One line: where the file starts, its length, its size, and what became of its sound or pictures.
std::string syncLine(const SavedFile& file);

/// "late", "not delivered", "not taken", "ended early".
const char* lossName(SoundLossKind kind);

} // namespace vintra

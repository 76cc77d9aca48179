#pragma once

#include "Vintra/platform/WallClock.h"

#include <string>

namespace vintra {

/// Something that a take tells while it runs.
struct TakeEvent {
    double seconds = 0; ///< from the common start
    Date time;
    std::string text; ///< one sentence or more
};

/// For people, a line without its end.
std::string textOf(const TakeEvent& event);
/// For programs, one JSON object in one line, with a line feed behind.
std::string jsonLineOf(const TakeEvent& event);
/// "2026-11-21T07:19:44.250Z".
std::string utcText(Date time);

} // namespace vintra

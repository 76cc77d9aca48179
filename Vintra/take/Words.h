#pragma once

#include "Vintra/platform/WallClock.h"

#include <string>
#include <vector>

namespace vintra {

/// "a, b " + word + " c"; one item alone; nothing for none.
std::string naturalList(const std::vector<std::string>& items, const std::string& word);

/// The time between the two, in whole seconds that have passed, as minutes and seconds "59:59" and from an
/// hour on "1:00:00". "0:00" if `to` is before `from`.
std::string elapsedString(Date from, Date to);

/// A position in a take, to the nearest second, in the form of `elapsedString`.
std::string timecodeString(double seconds);

} // namespace vintra

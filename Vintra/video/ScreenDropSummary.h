#pragma once

#include <string>
#include <vector>

namespace vintra {

/// The screen's lost frames of a take in words for the diagnostics: how many, when, and how they spread over
/// the take in steps of ten seconds, followed by the beat's summary if that is not empty. `times` in seconds
/// since the take's start, in any order.
std::string screenDropSummary(const std::vector<double>& times, const std::string& beatSummary);

} // namespace vintra

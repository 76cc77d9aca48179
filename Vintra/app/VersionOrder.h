#pragma once

#include <compare>
#include <string_view>

namespace vintra {

/// The order of two versions: "1.10" is later than "1.9", "1.0" is as late as "1.0.0", "1.0b2" comes before "1.0".
/// Numbers may have any length. Any thread.
std::weak_ordering compareVersions(std::string_view left, std::string_view right);

} // namespace vintra

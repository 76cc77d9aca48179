#pragma once

#include <string>
#include <string_view>

namespace vintra {

// Letter case by Unicode's full mappings, the same under every locale. Malformed bytes pass unchanged. Any
// thread.

/// "Ä" becomes "ä".
std::string lowercased(std::string_view text);
/// "ß" becomes "SS".
std::string uppercased(std::string_view text);

} // namespace vintra

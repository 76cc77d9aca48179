#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vintra {

/// Texts as web forms take them. Any thread.
namespace FormText {

/// For the query of an address: every byte but "A" to "Z", "a" to "z", "0" to "9" and "-._~" as %XX.
std::string queryEncoded(std::string_view text);

/// For the body of a form: the characters as in a query, and Unicode's letters, marks and numbers as they are. Empty if
/// the text isn't UTF-8.
std::string formEncoded(std::string_view text);

/// "key=value&key=value".
std::string body(const std::vector<std::pair<std::string, std::string>>& fields);

} // namespace FormText
} // namespace vintra

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vintra {

// Small operations on UTF-8 text. Bytes that are no UTF-8 pass through untouched. Any thread.

/// Without the Unicode white space (line ends, no-break and ideographic blanks included) at both ends.
std::string trimmingWhitespaceAndNewlines(std::string_view text);

std::string replacingOccurrences(std::string_view text, char of, char with);

/// With a capital where the first character is a small letter of ASCII.
std::string capitalised(std::string text);

std::string joined(const std::vector<std::string>& items, std::string_view separator);

} // namespace vintra

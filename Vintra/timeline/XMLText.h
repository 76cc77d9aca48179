#pragma once

#include <string>
#include <string_view>

namespace vintra::TimelineFile {

// Text inside an XML document. What XML has no way to hold, which is control characters but tab, line feed
// and carriage return, and bytes that are no UTF-8, becomes U+FFFD: no program opens a document that contains
// them.

/// Escapes "&", "<", ">" and the double quote.
void appendAttributeText(std::string& xml, std::string_view text);
/// Escapes "&", "<" and ">".
void appendValueText(std::string& xml, std::string_view text);
/// An attribute's value with its surrounding double quotes.
std::string attr(std::string_view text);

} // namespace vintra::TimelineFile

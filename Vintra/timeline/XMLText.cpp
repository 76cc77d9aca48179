#include "Vintra/timeline/XMLText.h"

#include "Vintra/platform/UTF8.h"

namespace vintra::TimelineFile {
namespace {

bool isXMLCharacter(uint32_t scalar) {
    if (scalar < 0x20) return scalar == '\t' || scalar == '\n' || scalar == '\r';
    return scalar != 0xFFFE && scalar != 0xFFFF;
}

void appendEscaped(std::string& xml, std::string_view text, bool escapesQuotes) {
    for (size_t offset = 0; offset < text.size();) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        if (!scalar.isValid || !isXMLCharacter(scalar.value)) {
            appendScalar(xml, kReplacementScalar);
        } else if (scalar.value == '&') {
            xml += "&amp;";
        } else if (scalar.value == '<') {
            xml += "&lt;";
        } else if (scalar.value == '>') {
            xml += "&gt;";
        } else if (scalar.value == '"' && escapesQuotes) {
            xml += "&quot;";
        } else {
            xml.append(text, offset, scalar.length);
        }
        offset += scalar.length;
    }
}

} // namespace

void appendAttributeText(std::string& xml, std::string_view text) {
    appendEscaped(xml, text, true);
}

void appendValueText(std::string& xml, std::string_view text) {
    appendEscaped(xml, text, false);
}

std::string attr(std::string_view text) {
    std::string quoted = "\"";
    appendAttributeText(quoted, text);
    quoted += '"';
    return quoted;
}

} // namespace vintra::TimelineFile

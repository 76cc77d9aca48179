#include "Vintra/take/Text.h"

#include "Vintra/platform/UTF8.h"

#include <cstdint>

namespace vintra {
namespace {

bool isWhitespaceOrNewline(uint32_t scalar) {
    switch (scalar) {
    case 0x20:
    case 0x85:
    case 0xA0:
    case 0x1680:
    case 0x2028:
    case 0x2029:
    case 0x202F:
    case 0x205F:
    case 0x3000:
        return true;
    default:
        return (scalar >= 0x09 && scalar <= 0x0D) || (scalar >= 0x2000 && scalar <= 0x200A);
    }
}

/// Bytes of white space at the front.
size_t leadingWhitespace(std::string_view text) {
    size_t at = 0;
    while (at < text.size()) {
        const UTF8Scalar character = scalarAt(text, at);
        if (!character.isValid || !isWhitespaceOrNewline(character.value)) break;
        at += character.length;
    }
    return at;
}

/// Bytes of the text without the white space at its end.
size_t lengthWithoutTrailingWhitespace(std::string_view text) {
    size_t end = text.size();
    while (end > 0) {
        size_t start = end - 1;
        while (start > 0 && end - start < 4 && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80)
            --start;
        const UTF8Scalar character = scalarAt(text.substr(0, end), start);
        if (!character.isValid || character.length != end - start || !isWhitespaceOrNewline(character.value))
            break;
        end = start;
    }
    return end;
}

} // namespace

std::string trimmingWhitespaceAndNewlines(std::string_view text) {
    text.remove_prefix(leadingWhitespace(text));
    return std::string(text.substr(0, lengthWithoutTrailingWhitespace(text)));
}

std::string replacingOccurrences(std::string_view text, char of, char with) {
    std::string result(text);
    for (char& character : result) {
        if (character == of) character = with;
    }
    return result;
}

std::string joined(const std::vector<std::string>& items, std::string_view separator) {
    std::string result;
    for (size_t index = 0; index < items.size(); ++index) {
        if (index > 0) result += separator;
        result += items[index];
    }
    return result;
}

} // namespace vintra

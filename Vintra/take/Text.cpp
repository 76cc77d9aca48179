#include "Vintra/take/Text.h"

#include "Vintra/platform/UTF8.h"

namespace vintra {
namespace {

bool isWhitespaceOrNewline(const UTF8Scalar& scalar) {
    if (!scalar.isValid) return false;
    switch (scalar.value) {
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
        return (scalar.value >= 0x09 && scalar.value <= 0x0D) ||
               (scalar.value >= 0x2000 && scalar.value <= 0x200A);
    }
}

} // namespace

std::string trimmingWhitespaceAndNewlines(std::string_view text) {
    size_t begin = text.size(); // of what stays, from the first to the last character that isn't blank
    size_t end = 0;
    for (size_t offset = 0; offset < text.size();) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        if (!isWhitespaceOrNewline(scalar)) {
            if (end == 0) begin = offset;
            end = offset + scalar.length;
        }
        offset += scalar.length;
    }
    return end == 0 ? std::string() : std::string(text.substr(begin, end - begin));
}

std::string replacingOccurrences(std::string_view text, char of, char with) {
    std::string result(text);
    for (char& character : result) {
        if (character == of) character = with;
    }
    return result;
}

std::string capitalised(std::string text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text;
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

#include "Vintra/take/Text.h"

#include <array>
#include <cstdint>
#include <optional>

namespace vintra {
namespace {

struct DecodedCharacter {
    char32_t scalar = 0;
    size_t length = 0; ///< bytes
};

std::optional<DecodedCharacter> decodeUTF8(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const auto byte = [&](size_t index) { return static_cast<unsigned char>(text[index]); };
    if (byte(0) < 0x80) return DecodedCharacter{byte(0), 1};
    const size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
    if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < length) return std::nullopt;
    char32_t scalar = byte(0) & (0x7Fu >> length);
    for (size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0) != 0x80) return std::nullopt;
        scalar = scalar << 6 | (byte(index) & 0x3Fu);
    }
    return DecodedCharacter{scalar, length};
}

void appendUTF8(std::string& text, char32_t scalar) {
    const auto continuation = [&](int shift) {
        text.push_back(static_cast<char>(0x80 | (scalar >> shift & 0x3F)));
    };
    if (scalar < 0x80) {
        text.push_back(static_cast<char>(scalar));
    } else if (scalar < 0x800) {
        text.push_back(static_cast<char>(0xC0 | scalar >> 6));
        continuation(0);
    } else if (scalar < 0x10000) {
        text.push_back(static_cast<char>(0xE0 | scalar >> 12));
        continuation(6);
        continuation(0);
    } else {
        text.push_back(static_cast<char>(0xF0 | scalar >> 18));
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

bool isWhitespaceOrNewline(char32_t scalar) {
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

/// Capitals `first`, `first + stride`, ... `last`, each `distance` below its small letter.
struct CapitalRange {
    char32_t first;
    char32_t last;
    char32_t stride;
    int32_t distance;
};

constexpr std::array capitalRanges = std::to_array<CapitalRange>({
    {U'A', U'Z', 1, 32},     {0x00C0, 0x00D6, 1, 32},  {0x00D8, 0x00DE, 1, 32}, {0x0100, 0x012E, 2, 1},
    {0x0132, 0x0136, 2, 1},  {0x0139, 0x0147, 2, 1},   {0x014A, 0x0176, 2, 1},  {0x0178, 0x0178, 1, -121},
    {0x0179, 0x017D, 2, 1},  {0x018F, 0x018F, 1, 202}, {0x01A0, 0x01A4, 2, 1},  {0x01AF, 0x01AF, 1, 1},
    {0x01CD, 0x01DB, 2, 1},  {0x01DE, 0x01EE, 2, 1},   {0x01F8, 0x021E, 2, 1},  {0x0222, 0x0232, 2, 1},
    {0x0386, 0x0386, 1, 38}, {0x0388, 0x038A, 1, 37},  {0x038C, 0x038C, 1, 64}, {0x038E, 0x038F, 1, 63},
    {0x0391, 0x03A1, 1, 32}, {0x03A3, 0x03AB, 1, 32},  {0x0400, 0x040F, 1, 80}, {0x0410, 0x042F, 1, 32},
    {0x0460, 0x0480, 2, 1},  {0x048A, 0x04BE, 2, 1},   {0x04C0, 0x04C0, 1, 15}, {0x04C1, 0x04CD, 2, 1},
    {0x04D0, 0x052E, 2, 1},  {0x0531, 0x0556, 1, 48},  {0x1E00, 0x1E94, 2, 1},  {0x1E9E, 0x1E9E, 1, -7615},
    {0x1EA0, 0x1EFE, 2, 1},  {0xFF21, 0xFF3A, 1, 32},
});

char32_t lowercased(char32_t scalar) {
    for (const CapitalRange& range : capitalRanges) {
        if (scalar < range.first || scalar > range.last) continue;
        if ((scalar - range.first) % range.stride != 0) continue;
        return static_cast<char32_t>(static_cast<int32_t>(scalar) + range.distance);
    }
    return scalar;
}

/// Bytes of white space at the front.
size_t leadingWhitespace(std::string_view text) {
    size_t at = 0;
    while (const auto character = decodeUTF8(text.substr(at))) {
        if (!isWhitespaceOrNewline(character->scalar)) break;
        at += character->length;
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
        const auto character = decodeUTF8(text.substr(start, end - start));
        if (!character || character->length != end - start || !isWhitespaceOrNewline(character->scalar))
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

std::string lowercased(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto character = decodeUTF8(text);
        if (character) {
            appendUTF8(result, lowercased(character->scalar));
        } else {
            result.push_back(text.front());
        }
        text.remove_prefix(character ? character->length : 1);
    }
    return result;
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

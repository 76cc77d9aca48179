#include "Vintra/platform/UTF8.h"

namespace vintra {

UTF8Scalar scalarAt(std::string_view text, size_t offset) {
    const auto byteAt = [&](size_t index) { return static_cast<uint8_t>(text[index]); };
    const uint8_t lead = byteAt(offset);
    if (lead < 0x80) return {lead, 1, true};
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || offset + length > text.size()) return {};
    uint32_t value = lead & (0x7Fu >> length);
    for (size_t index = 1; index < length; ++index) {
        const uint8_t next = byteAt(offset + index);
        if ((next & 0xC0) != 0x80) return {};
        value = value << 6 | (next & 0x3Fu);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (overlong || surrogate || value > 0x10FFFF) return {};
    return {value, length, true};
}

void appendScalar(std::string& text, uint32_t scalar) {
    const auto append = [&](uint32_t byte) { text += static_cast<char>(static_cast<uint8_t>(byte)); };
    if (scalar < 0x80) {
        append(scalar);
    } else if (scalar < 0x800) {
        append(0xC0 | scalar >> 6);
        append(0x80 | (scalar & 0x3F));
    } else if (scalar < 0x10000) {
        append(0xE0 | scalar >> 12);
        append(0x80 | (scalar >> 6 & 0x3F));
        append(0x80 | (scalar & 0x3F));
    } else {
        append(0xF0 | scalar >> 18);
        append(0x80 | (scalar >> 12 & 0x3F));
        append(0x80 | (scalar >> 6 & 0x3F));
        append(0x80 | (scalar & 0x3F));
    }
}

namespace {

/// Of the directions, embeddings, overrides and isolates: the marks of right-to-left text belong to it.
bool isControlCharacter(const UTF8Scalar& scalar) {
    if (!scalar.isValid) return false;
    const uint32_t value = scalar.value;
    return value < 0x20 || (value >= 0x7F && value <= 0x9F) || value == 0x2028 || value == 0x2029 ||
           (value >= 0x202A && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
}

} // namespace

std::string replacingControlCharacters(std::string_view text, std::string_view with) {
    std::string result;
    for (size_t offset = 0; offset < text.size();) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        result += isControlCharacter(scalar) ? with : text.substr(offset, scalar.length);
        offset += scalar.length;
    }
    return result;
}

std::string printable(std::string_view text) {
    std::string result;
    for (size_t offset = 0; offset < text.size();) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        const bool isShown = scalar.isValid && (scalar.value == '\n' || !isControlCharacter(scalar));
        appendScalar(result, isShown ? scalar.value : kReplacementScalar);
        offset += scalar.length;
    }
    return result;
}

} // namespace vintra

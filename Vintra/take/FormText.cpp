#include "Vintra/take/FormText.h"

#include "Vintra/platform/Alphanumerics.h"
#include "Vintra/platform/UTF8.h"

namespace vintra::FormText {
namespace {

bool isUnreserved(unsigned char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

} // namespace

std::string queryEncoded(std::string_view text) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (isUnreserved(byte)) {
            encoded += character;
        } else {
            encoded += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return encoded;
}

std::string formEncoded(std::string_view text) {
    std::string encoded;
    for (size_t offset = 0; offset < text.size();) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        if (!scalar.isValid) return "";
        const std::string_view bytes = text.substr(offset, scalar.length);
        const bool staysAsItIs = scalar.length > 1 && isAlphanumeric(scalar.value);
        encoded += staysAsItIs ? std::string(bytes) : queryEncoded(bytes);
        offset += scalar.length;
    }
    return encoded;
}

std::string body(const std::vector<std::pair<std::string, std::string>>& fields) {
    std::string text;
    for (const auto& [key, value] : fields) {
        if (!text.empty()) text += '&';
        text += formEncoded(key) + "=" + formEncoded(value);
    }
    return text;
}

} // namespace vintra::FormText

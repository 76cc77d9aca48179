#include "Vintra/platform/UUID.h"

namespace vintra {

std::string UUID::uuidString() const {
    constexpr char hex[] = "0123456789ABCDEF";
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        text += hex[bytes[i] >> 4];
        text += hex[bytes[i] & 15];
    }
    return text;
}

} // namespace vintra

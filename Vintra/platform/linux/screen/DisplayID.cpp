#include "Vintra/platform/linux/screen/DisplayID.h"

namespace vintra {

/// FNV-1a, folded to 16 bits.
uint32_t displayIDFromName(const std::string& name) {
    uint32_t hash = 2'166'136'261u;
    for (const char character : name) {
        hash ^= static_cast<unsigned char>(character);
        hash *= 16'777'619u;
    }
    return ((hash >> 16) ^ (hash & 0xffff)) + 1;
}

} // namespace vintra

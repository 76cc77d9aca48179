#include "Vintra/audio/SystemOutputStatus.h"

#include "Vintra/platform/FixedText.h"

namespace vintra {

std::string SystemOutputStatus::format(double sampleRate) {
    std::string kilohertz = fixedText(sampleRate / 1000, 3);
    while (kilohertz.ends_with('0'))
        kilohertz.pop_back();
    if (kilohertz.ends_with('.')) kilohertz.pop_back();
    return kilohertz + "kHz";
}

} // namespace vintra

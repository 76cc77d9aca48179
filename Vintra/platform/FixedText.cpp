#include "Vintra/platform/FixedText.h"

#include <charconv>

namespace vintra {

std::string fixedText(double value, int decimals) {
    std::string text(64, '\0');
    while (true) {
        const auto [end, error] =
            std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
        if (error == std::errc{}) {
            text.resize(static_cast<size_t>(end - text.data()));
            return text;
        }
        text.resize(text.size() * 2);
    }
}

} // namespace vintra

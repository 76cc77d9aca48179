#include "Vintra/take/Words.h"

#include "Vintra/take/Text.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace vintra {
namespace {

std::string clockString(double wholeSeconds) {
    // A take never lasts a million years; anything that isn't a length of time counts as none.
    const bool usable = wholeSeconds > 0 && wholeSeconds < 3e13;
    const int64_t total = usable ? static_cast<int64_t>(wholeSeconds) : 0;
    char text[64];
    if (total < 3600) {
        std::snprintf(text, sizeof text, "%d:%02d", static_cast<int>(total / 60),
                      static_cast<int>(total % 60));
    } else {
        std::snprintf(text, sizeof text, "%lld:%02d:%02d", static_cast<long long>(total / 3600),
                      static_cast<int>(total / 60 % 60), static_cast<int>(total % 60));
    }
    return text;
}

} // namespace

std::string naturalList(const std::vector<std::string>& items, const std::string& word) {
    if (items.empty()) return "";
    if (items.size() == 1) return items.front();
    return joined({items.begin(), items.end() - 1}, ", ") + " " + word + " " + items.back();
}

std::string elapsedString(Date from, Date to) {
    return clockString(std::trunc(to.secondsSince1970 - from.secondsSince1970));
}

std::string timecodeString(double seconds) {
    return clockString(std::round(seconds));
}

} // namespace vintra

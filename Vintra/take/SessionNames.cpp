#include "Vintra/take/SessionNames.h"

#include "Vintra/take/Text.h"

#include <cstdio>

namespace vintra {

std::string generateSessionName(const WallClock& wallClock) {
    const LocalTime time = wallClock.localTime(wallClock.now());
    char text[96];
    std::snprintf(text, sizeof text, "session_%04d-%02d-%02d_%02d%02d%02d", time.year, time.month, time.day,
                  time.hour, time.minute, time.second);
    return text;
}

std::string sanitizedSessionName(const std::string& name, const WallClock& wallClock) {
    std::string result = trimmingWhitespaceAndNewlines(name);
    result.erase(0, result.find_first_not_of('.'));
    result = replacingOccurrences(result, '/', '-');
    result = replacingOccurrences(result, ':', '-');
    result = trimmingWhitespaceAndNewlines(result);
    return result.empty() ? generateSessionName(wallClock) : result;
}

} // namespace vintra

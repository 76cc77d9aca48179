#include "Vintra/take/SessionNames.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/take/Text.h"

#include <algorithm>
#include <cstdio>
#include <vector>

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
    result = replacingControlCharacters(result, "-");
    result = trimmingWhitespaceAndNewlines(result);
    return result.empty() ? generateSessionName(wallClock) : result;
}

std::string unusedSessionName(const FileManager& files, const URL& inFolder, const std::string& name) {
    std::vector<std::string> taken;
    try {
        taken = files.contentsOfDirectory(inFolder);
    } catch (const SystemError&) {
        return name; // the start tells what is wrong with the folder
    }
    std::string candidate = name;
    const auto isTaken = [&candidate](const std::string& entry) {
        return entry.starts_with(candidate + "_") || entry.starts_with("." + candidate + ".");
    };
    for (int number = 2; std::ranges::any_of(taken, isTaken); ++number)
        candidate = name + "-" + std::to_string(number);
    return candidate;
}

} // namespace vintra

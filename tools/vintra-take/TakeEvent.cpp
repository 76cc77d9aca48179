#include "tools/vintra-take/TakeEvent.h"

#include "tools/vintra-take/Numbers.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

namespace vintra {

std::string textOf(const TakeEvent& event) {
    return "at " + fixedNumber(event.seconds, 1) + " s: " + event.text;
}

std::string utcText(Date time) {
    const auto milliseconds = static_cast<int64_t>(std::floor(time.secondsSince1970 * 1000 + 0.5));
    const auto seconds = static_cast<time_t>((milliseconds - (milliseconds % 1000 + 1000) % 1000) / 1000);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char day[32];
    std::strftime(day, sizeof day, "%Y-%m-%dT%H:%M:%S", &parts);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%03dZ", day, static_cast<int>((milliseconds % 1000 + 1000) % 1000));
    return text;
}

std::string jsonLineOf(const TakeEvent& event) {
    nlohmann::ordered_json object;
    object["event"] = "warning";
    object["seconds"] = std::round(event.seconds * 1000) / 1000;
    object["time"] = utcText(event.time);
    object["text"] = event.text;
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace vintra

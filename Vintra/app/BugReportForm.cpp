#include "Vintra/app/BugReportForm.h"

#include <array>
#include <utility>

namespace vintra::BugReportForm {
namespace {

std::string wordOf(Route route) {
    switch (route) {
    case Route::button:
        return "button";
    case Route::crash:
        return "crash";
    case Route::afterTake:
        return "after-take";
    }
    return "";
}

bool isUnreserved(unsigned char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

std::string percentEncoded(std::string_view text) {
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

} // namespace

std::optional<std::string> reportURL(Route from, const MachineFacts& facts, std::string_view form) {
    if (form.find("REPLACE_WITH") != std::string_view::npos) return std::nullopt;
    const std::array<std::pair<const char*, std::string>, 4> items{
        {{"build", facts.appVersion + " (" + facts.buildVersion + ")"},
         {"os", facts.operatingSystemVersion},
         {"mac", facts.hardwareModel},
         {"from", wordOf(from)}}};
    std::string address(form);
    char separator = form.find('?') == std::string_view::npos ? '?' : '&';
    for (const auto& [key, value] : items) {
        address += separator + std::string(key) + "=" + percentEncoded(value);
        separator = '&';
    }
    return address;
}

} // namespace vintra::BugReportForm

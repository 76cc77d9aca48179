#include "Vintra/platform/linux/runtime/OperatingSystem.h"

#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>

namespace vintra {
namespace {

/// Without its quotes, and with the character behind each backslash.
std::string unquoted(std::string_view value) {
    const bool isQuoted =
        value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
    if (isQuoted) value = value.substr(1, value.size() - 2);
    std::string text;
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size()) ++i;
        text += value[i];
    }
    return text;
}

std::optional<std::string> textOfFile(const char* path) {
    std::ifstream file(path);
    if (!file) return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

OperatingSystem operatingSystemOfText(const std::string& text) {
    OperatingSystem system;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        const std::string key = line.substr(0, equals);
        const std::string value = unquoted(std::string_view(line).substr(equals + 1));
        if (key == "NAME" && !value.empty()) system.name = value;
        if (key == "VERSION_ID") system.version = value;
    }
    return system;
}

OperatingSystem operatingSystem() {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        if (const auto text = textOfFile(path)) return operatingSystemOfText(*text);
    }
    return {};
}

std::string hardwareModel() {
    std::string model;
    for (const char* path : {"/sys/class/dmi/id/sys_vendor", "/sys/class/dmi/id/product_name"}) {
        std::ifstream file(path);
        std::string line;
        if (!std::getline(file, line) || line.empty()) continue;
        model += (model.empty() ? "" : " ") + line;
    }
    return model.empty() ? "unknown" : model;
}

} // namespace vintra

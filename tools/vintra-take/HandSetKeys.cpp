#include "tools/vintra-take/HandSetKeys.h"

#include "Vintra/platform/linux/files/DefaultsFile.h"
#include "tools/vintra-take/Numbers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace vintra {
namespace {

enum class ValueKind { flag, wholeNumber, number, codec, frameRate };

struct KnownKey {
    const char* name;
    ValueKind kind;
    double least; ///< of a number
    double most;
    const char* meaning;
};

constexpr std::array kKnownKeys = {
    KnownKey{"hideTakeWarnings", ValueKind::flag, 0, 0, "no warnings during a take or after it"},
    KnownKey{"screenCaptureNativeResolution", ValueKind::flag, 0, 0, "the screen in all of its pixels"},
    KnownKey{"correctsSoundDrift", ValueKind::flag, 0, 0,
             "false: sound files as their device's clock made them"},
    KnownKey{"RelayTargetFrames", ValueKind::wholeNumber, 0, 96'000,
             "frames that computer audio is heard late by; 0: as needed"},
    KnownKey{"webcamMaxFrameRate", ValueKind::number, 0, 1000,
             "most frames a second of a camera; 0: no limit"},
    KnownKey{"screenCodec", ValueKind::codec, 0, 0, "of the screen movie"},
    KnownKey{"screenFrameRate", ValueKind::frameRate, 0, 0, "of the screen movie"},
    KnownKey{"dawGainDB", ValueKind::number, -kLargestGain, kLargestGain, "louder or softer second track"},
};

/// What the program's own file holds beside them: what its controls write.
constexpr std::array kProgramsOwn = {
    "lowLatencyMonitoring",
    "micGainDB",
    "systemAudioMonitorUID",
    "screenFrameRateBeforeMultiCamera",
    "webcamPreviewSize",
    "cameraResolutions",
    "clickRippleColorHex",
    "selectedDisplayID",
    "selectedWindowID",
    "screenCaptureMode",
    "captureAspectPreset",
    "captureRegion",
    "lastUsedAudioDeviceID",
    "outputFolderPath",
    "timelineEditor",
    "otherVirtualInputShown",
    "systemOutputPendingRestoreUID",
};

std::string valuesOf(const KnownKey& key) {
    switch (key.kind) {
    case ValueKind::flag:
        return "true or false";
    case ValueKind::wholeNumber:
        return "a whole number from " + plainNumber(key.least) + " to " + plainNumber(key.most);
    case ValueKind::number:
        return "a number from " + plainNumber(key.least) + " to " + plainNumber(key.most);
    case ValueKind::codec:
        return "h264 or hevc";
    case ValueKind::frameRate:
        return "24, 30 or 60";
    }
    return "";
}

const KnownKey* knownKey(const std::string& name) {
    const auto found =
        std::ranges::find_if(kKnownKeys, [&](const KnownKey& key) { return name == key.name; });
    return found == kKnownKeys.end() ? nullptr : &*found;
}

bool isProgramsOwn(const std::string& name) {
    return name.starts_with("vintra") || name.starts_with("Vintra") ||
           std::ranges::find(kProgramsOwn, std::string_view(name)) != kProgramsOwn.end();
}

std::string unknownKey(const std::string& name) {
    std::string names;
    for (const KnownKey& key : kKnownKeys)
        names += (names.empty() ? "" : ", ") + std::string(key.name);
    return "There is no setting “" + name + "” to set by hand. The ones there are: " + names + ".";
}

std::optional<int64_t> wholeNumber(const DefaultsValue& value) {
    if (const auto* whole = std::get_if<int64_t>(&value)) return *whole;
    const auto* number = std::get_if<double>(&value);
    if (number == nullptr || std::trunc(*number) != *number || std::abs(*number) > 1e15) return std::nullopt;
    return static_cast<int64_t>(*number);
}

std::optional<double> number(const DefaultsValue& value) {
    if (const auto* whole = std::get_if<int64_t>(&value)) return static_cast<double>(*whole);
    const auto* number = std::get_if<double>(&value);
    return number != nullptr ? std::optional(*number) : std::nullopt;
}

/// The value as the key keeps it; nothing if the key can't have it.
std::optional<DefaultsValue> checked(const KnownKey& key, const DefaultsValue& value) {
    const auto isWithin = [&](double candidate) { return candidate >= key.least && candidate <= key.most; };
    switch (key.kind) {
    case ValueKind::flag:
        return std::holds_alternative<bool>(value) ? std::optional(value) : std::nullopt;
    case ValueKind::wholeNumber:
        if (const auto whole = wholeNumber(value); whole && isWithin(static_cast<double>(*whole)))
            return *whole;
        return std::nullopt;
    case ValueKind::number:
        if (const auto real = number(value); real && isWithin(*real)) return *real;
        return std::nullopt;
    case ValueKind::codec: {
        const auto* name = std::get_if<std::string>(&value);
        return name != nullptr && (*name == "h264" || *name == "hevc") ? std::optional(value) : std::nullopt;
    }
    case ValueKind::frameRate: {
        const auto rate = wholeNumber(value);
        return rate == 24 || rate == 30 || rate == 60 ? std::optional<DefaultsValue>(*rate) : std::nullopt;
    }
    }
    return std::nullopt;
}

/// What the text stands for where no key says it.
DefaultsValue valueOfText(const std::string& text) {
    if (text == "true" || text == "false") return text == "true";
    if (const auto whole = wholeTextAsWholeNumber(text)) return *whole;
    if (const auto real = wholeTextAsNumber(text)) return *real;
    return text;
}

std::string notRead(const std::string& path, const std::string& why) {
    return "The settings file “" + path + "” can't be read: " + why;
}

} // namespace

HandSetKey parseHandSetKey(const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        return "--set takes KEY=VALUE, such as hideTakeWarnings=true, not “" + text + "”.";
    const std::string name = text.substr(0, equals);
    const KnownKey* const key = knownKey(name);
    if (key == nullptr) return unknownKey(name);
    const std::string written = text.substr(equals + 1);
    const auto value = checked(*key, valueOfText(written));
    if (!value) return name + " takes " + valuesOf(*key) + ", not “" + written + "”.";
    return std::pair{name, *value};
}

std::variant<HandSetValues, std::string> readHandSetKeys(const std::string& path) {
    struct stat facts {};
    if (::stat(path.c_str(), &facts) != 0) return notRead(path, std::string(std::strerror(errno)) + ".");
    if (!S_ISREG(facts.st_mode)) return notRead(path, "it isn't a file.");
    std::ifstream file(path, std::ios::binary);
    if (!file) return notRead(path, std::string(std::strerror(errno)) + ".");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto all = defaultsOfText(text);
    if (!all) return notRead(path, "it must be one JSON object, such as {\"hideTakeWarnings\": true}.");
    HandSetValues values;
    for (const auto& [name, stored] : *all) {
        const KnownKey* const key = knownKey(name);
        if (key == nullptr && isProgramsOwn(name)) continue;
        if (key == nullptr) return "In “" + path + "”: " + unknownKey(name);
        const auto value = checked(*key, stored);
        if (!value) return "In “" + path + "”: " + name + " takes " + valuesOf(*key) + ".";
        values[name] = *value;
    }
    return values;
}

std::string handSetKeysHelp() {
    size_t width = 0;
    for (const KnownKey& key : kKnownKeys)
        width = std::max(width, std::strlen(key.name));
    std::string text;
    for (const KnownKey& key : kKnownKeys) {
        const std::string name = key.name;
        text += "  " + name + std::string(width + 2 - name.size(), ' ') + key.meaning + " (" + valuesOf(key) +
                ")\n";
    }
    return text;
}

} // namespace vintra

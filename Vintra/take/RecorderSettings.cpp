#include "Vintra/take/RecorderSettings.h"

#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/capturearea/CaptureModeChoice.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <unordered_map>
#include <utility>

namespace vintra {
namespace {

/// How a property's value lies in the settings.
template <typename Value>
struct Conversion {
    /// Nothing if the stored value is absent or of no use.
    std::optional<Value> (*fromStored)(const UserDefaults& defaults, const std::string& key);
    /// Nothing removes the key.
    std::optional<DefaultsValue> (*toStored)(const Value& value);
};

constexpr Conversion<bool> kFlag{.fromStored = boolForKey, .toStored = [](const bool& value) {
                                     return std::optional<DefaultsValue>(value);
                                 }};

constexpr Conversion<double> kDecibels{.fromStored = doubleForKey, .toStored = [](const double& value) {
                                           return std::optional<DefaultsValue>(value);
                                       }};

constexpr Conversion<std::optional<std::string>> kOptionalText{
    .fromStored = [](const UserDefaults& defaults,
                     const std::string& key) -> std::optional<std::optional<std::string>> {
        auto stored = stringForKey(defaults, key);
        if (!stored) return std::nullopt;
        return std::optional<std::optional<std::string>>(std::in_place, std::move(stored));
    },
    .toStored = [](const std::optional<std::string>& value) -> std::optional<DefaultsValue> {
        return value ? std::optional<DefaultsValue>(*value) : std::nullopt;
    }};

/// 24, 30 or 60 frames a second; anything else reads as 60.
constexpr Conversion<int> kFrameRate{
    .fromStored = [](const UserDefaults& defaults, const std::string& key) -> std::optional<int> {
        const auto stored = integerForKey(defaults, key);
        return stored == 24 || stored == 30 ? static_cast<int>(*stored) : 60;
    },
    .toStored = [](const int& value) { return std::optional<DefaultsValue>(static_cast<int64_t>(value)); }};

/// Of a display or a window.
constexpr Conversion<std::optional<uint32_t>> kOptionalID{
    .fromStored = [](const UserDefaults& defaults,
                     const std::string& key) -> std::optional<std::optional<uint32_t>> {
        const auto stored = integerForKey(defaults, key);
        if (!stored || *stored < 0 || *stored > std::numeric_limits<uint32_t>::max()) return std::nullopt;
        return static_cast<uint32_t>(*stored);
    },
    .toStored = [](const std::optional<uint32_t>& value) -> std::optional<DefaultsValue> {
        return value ? std::optional<DefaultsValue>(static_cast<int64_t>(*value)) : std::nullopt;
    }};

constexpr Conversion<CaptureModeChoice> kMode{
    .fromStored =
        [](const UserDefaults& defaults, const std::string& key) {
            return captureModeChoice(stringForKey(defaults, key).value_or(""));
        },
    .toStored = [](const CaptureModeChoice& value) { return std::optional<DefaultsValue>(rawValue(value)); }};

constexpr Conversion<AspectPreset> kAspect{
    .fromStored =
        [](const UserDefaults& defaults, const std::string& key) {
            return aspectPreset(stringForKey(defaults, key).value_or(""));
        },
    .toStored = [](const AspectPreset& value) { return std::optional<DefaultsValue>(rawValue(value)); }};

constexpr Conversion<WebcamPreviewSize> kPreviewSize{
    .fromStored =
        [](const UserDefaults& defaults, const std::string& key) {
            return webcamPreviewSize(stringForKey(defaults, key).value_or(""));
        },
    .toStored = [](const WebcamPreviewSize& value) { return std::optional<DefaultsValue>(rawValue(value)); }};

using CameraResolutions = std::unordered_map<std::string, CameraResolution>;

/// By camera. What isn't known is left out, and so is what every camera has by itself.
constexpr Conversion<CameraResolutions> kResolutions{
    .fromStored = [](const UserDefaults& defaults,
                     const std::string& key) -> std::optional<CameraResolutions> {
        const auto stored = dictionaryForKey(defaults, key);
        if (!stored) return std::nullopt;
        CameraResolutions resolutions;
        for (const auto& [camera, raw] : *stored) {
            if (cameraResolution(raw) == CameraResolution::hd) resolutions[camera] = CameraResolution::hd;
        }
        return resolutions;
    },
    .toStored = [](const CameraResolutions& value) -> std::optional<DefaultsValue> {
        std::map<std::string, std::string> stored;
        for (const auto& [camera, resolution] : value)
            stored[camera] = rawValue(resolution);
        return stored;
    }};

/// Five numbers: display, x, y, width, height. The display need not be there: the region waits for it.
constexpr Conversion<std::optional<CaptureRegion>> kRegion{
    .fromStored = [](const UserDefaults& defaults,
                     const std::string& key) -> std::optional<std::optional<CaptureRegion>> {
        const auto stored = doublesForKey(defaults, key);
        if (!stored || stored->size() != 5) return std::nullopt;
        const double displayID = (*stored)[0];
        if (!(displayID >= 0 && displayID <= std::numeric_limits<uint32_t>::max())) return std::nullopt;
        return CaptureRegion{.displayID = static_cast<uint32_t>(displayID),
                             .rect = {{(*stored)[1], (*stored)[2]}, {(*stored)[3], (*stored)[4]}}};
    },
    .toStored = [](const std::optional<CaptureRegion>& value) -> std::optional<DefaultsValue> {
        if (!value) return std::nullopt;
        const CGRect& rect = value->rect;
        return std::vector<double>{static_cast<double>(value->displayID), rect.origin.x, rect.origin.y,
                                   rect.size.width, rect.size.height};
    }};

/// Six hexadecimal digits, "ffcc00".
constexpr Conversion<uint32_t> kColour{
    .fromStored = [](const UserDefaults& defaults, const std::string& key) -> std::optional<uint32_t> {
        const std::string text = stringForKey(defaults, key).value_or("");
        uint32_t colour = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), colour, 16);
        if (text.size() != 6 || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
        return colour;
    },
    .toStored = [](const uint32_t& value) -> std::optional<DefaultsValue> {
        char text[16];
        std::snprintf(text, sizeof text, "%06x", value & 0xffffffu);
        return std::string(text);
    }};

template <typename Value>
RecorderSettings::Row row(const char* key, Published<Value>& property, const Conversion<Value>& conversion) {
    return {
        .restore =
            [&property, key, fromStored = conversion.fromStored](const UserDefaults& defaults) {
                if (auto stored = fromStored(defaults, key)) property.set(std::move(*stored));
            },
        .keep =
            [&property, key, toStored = conversion.toStored](const std::shared_ptr<UserDefaults>& defaults) {
                property.onChange([&property, defaults, key, toStored](const Value&) {
                    if (auto stored = toStored(*property)) {
                        defaults->set(key, std::move(*stored));
                    } else {
                        defaults->remove(key);
                    }
                });
            }};
}

} // namespace

RecorderSettings::RecorderSettings(std::shared_ptr<UserDefaults> userDefaults, AudioSelection& audio,
                                   CameraSelection& cameras, ScreenSelection& screen)
    : userDefaults(std::move(userDefaults))
    , screenRows{row("clickRippleColorHex", screen.clickRippleColor, kColour),
                 row("selectedDisplayID", screen.selectedDisplayID, kOptionalID),
                 row("selectedWindowID", screen.selectedWindowID, kOptionalID),
                 row("screenCaptureMode", screen.screenCaptureMode, kMode),
                 row("captureAspectPreset", screen.aspectPreset, kAspect),
                 row("captureRegion", screen.captureRegion, kRegion)} {
    leaveMultiCameraRate();
    const std::vector<Row> silentRows{
        row("lowLatencyMonitoring", audio.lowLatencyMonitoring, kFlag),
        row("micGainDB", audio.micGainDB, kDecibels),
        row("systemAudioMonitorUID", audio.systemAudioMonitorUID, kOptionalText),
        row("dawGainDB", audio.dawGainDB, kDecibels),
        row("screenFrameRate", screen.screenFrameRate, kFrameRate),
        row("webcamPreviewSize", cameras.webcamPreviewSize, kPreviewSize),
        row("cameraResolutions", cameras.cameraResolutions, kResolutions)};
    for (const Row& silent : silentRows) {
        silent.restore(*this->userDefaults);
        silent.keep(this->userDefaults);
    }
    for (const Row& screenRow : screenRows)
        screenRow.keep(this->userDefaults);
}

void RecorderSettings::restoreScreen() {
    for (const Row& screenRow : screenRows)
        screenRow.restore(*userDefaults);
}

/// A run that ended while the rate for several cameras was in force left the user's own rate here.
void RecorderSettings::leaveMultiCameraRate() {
    const auto before = integerForKey(*userDefaults, "screenFrameRateBeforeMultiCamera");
    if (before != 24 && before != 30 && before != 60) return;
    userDefaults->remove("screenFrameRateBeforeMultiCamera");
    userDefaults->set("screenFrameRate", *before);
}

} // namespace vintra

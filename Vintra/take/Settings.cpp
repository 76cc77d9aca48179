// Settings that are kept between runs. Device selections aren't: a run begins with nothing armed but the
// screen.

#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {
namespace {

constexpr int64_t kLargestID = 4'294'967'295; // of a display or a window: 32 bits

int validFrameRate(std::optional<int64_t> stored) {
    return stored == 24 || stored == 30 ? static_cast<int>(*stored) : 60;
}

std::optional<uint32_t> storedID(const UserDefaults& defaults, const char* key) {
    const auto stored = integerForKey(defaults, key);
    if (!stored || *stored < 0 || *stored > kLargestID) return std::nullopt;
    return static_cast<uint32_t>(*stored);
}

} // namespace

void ScreenRecorderManager::restoreSettings() {
    UserDefaults& defaults = *platform.userDefaults;
    lowLatencyMonitoring.set(boolForKey(defaults, "lowLatencyMonitoring").value_or(false));
    micGainDB.set(doubleForKey(defaults, "micGainDB").value_or(0));
    systemAudioMonitorUID.set(stringForKey(defaults, "systemAudioMonitorUID"));
    dawGainDB.set(doubleForKey(defaults, "dawGainDB").value_or(0));

    // A run that ended while the rate for several cameras was in force left the user's own rate here.
    const auto before = integerForKey(defaults, "screenFrameRateBeforeMultiCamera");
    if (before == 24 || before == 30 || before == 60) {
        defaults.remove("screenFrameRateBeforeMultiCamera");
        defaults.set("screenFrameRate", *before);
        screenFrameRate.set(static_cast<int>(*before));
    } else {
        screenFrameRate.set(validFrameRate(integerForKey(defaults, "screenFrameRate")));
    }
}

/// Restored with their change handling running.
void ScreenRecorderManager::restoreScreenSettings() {
    UserDefaults& defaults = *platform.userDefaults;
    if (const auto id = storedID(defaults, "selectedDisplayID")) selectedDisplayID.set(*id);
    if (const auto id = storedID(defaults, "selectedWindowID")) selectedWindowID.set(*id);
    if (const auto mode = captureModeChoice(stringForKey(defaults, "screenCaptureMode").value_or(""))) {
        screenCaptureMode.set(*mode);
    }
    if (const auto aspect =
            vintra::aspectPreset(stringForKey(defaults, "captureAspectPreset").value_or(""))) {
        aspectPreset.set(*aspect);
    }
    restoreCaptureRegion();
}

/// The display need not be there: the region waits for it.
void ScreenRecorderManager::restoreCaptureRegion() {
    const auto stored = doublesForKey(*platform.userDefaults, "captureRegion");
    if (!stored || stored->size() != 5) return;
    const double displayID = (*stored)[0];
    if (!(displayID >= 0 && displayID <= static_cast<double>(kLargestID))) return;
    captureRegion.set(CaptureRegion{.displayID = static_cast<uint32_t>(displayID),
                                    .rect = {{(*stored)[1], (*stored)[2]}, {(*stored)[3], (*stored)[4]}}});
    persistCaptureRegion();
    syncRegionGuide();
}

void ScreenRecorderManager::persistSettingsOnChange() {
    UserDefaults* const defaults = platform.userDefaults.get();
    const auto persistID = [defaults](const char* key, const std::optional<uint32_t>& id) {
        if (id) {
            defaults->set(key, static_cast<int64_t>(*id));
        } else {
            defaults->remove(key);
        }
    };
    lowLatencyMonitoring.onChange([this, defaults](bool) {
        defaults->set("lowLatencyMonitoring", *lowLatencyMonitoring);
        lowLatencyMonitoringChanged();
    });
    systemAudioMonitorUID.onChange([this, defaults](const auto&) {
        if (*systemAudioMonitorUID) {
            defaults->set("systemAudioMonitorUID", **systemAudioMonitorUID);
        } else {
            defaults->remove("systemAudioMonitorUID");
        }
    });
    micGainDB.onChange([this, defaults](double) {
        defaults->set("micGainDB", *micGainDB);
        syncRoutingCache();
    });
    dawGainDB.onChange([this, defaults](double) {
        defaults->set("dawGainDB", *dawGainDB);
        syncRoutingCache();
    });
    screenFrameRate.onChange([this, defaults](int) {
        defaults->set("screenFrameRate", static_cast<int64_t>(*screenFrameRate));
        syncRegionGuide();
    });
    selectedDisplayID.onChange([this, persistID](const auto&) {
        persistID("selectedDisplayID", *selectedDisplayID);
        syncRegionGuide();
    });
    selectedWindowID.onChange([this, persistID](const auto&) {
        persistID("selectedWindowID", *selectedWindowID);
        syncRegionGuide();
    });
    screenCaptureMode.onChange([this, defaults](auto) {
        defaults->set("screenCaptureMode", rawValue(*screenCaptureMode));
        syncRegionGuide();
    });
    aspectPreset.onChange([this, defaults](auto) {
        defaults->set("captureAspectPreset", rawValue(*aspectPreset));
        reshapeRegionToAspect();
        syncRegionGuide();
    });
    captureRegion.onChange([this](const auto&) {
        persistCaptureRegion();
        syncRegionGuide();
    });
    showMouseClicks.onChange([this](bool) {
        syncClickHighlight();
        syncRegionGuide();
    });
    clickRippleColor.onChange([this](uint32_t) { syncRegionGuide(); });
}

void ScreenRecorderManager::persistCaptureRegion() {
    if (!*captureRegion) {
        platform.userDefaults->remove("captureRegion");
        return;
    }
    const CaptureRegion& region = **captureRegion;
    platform.userDefaults->set("captureRegion",
                               std::vector<double>{static_cast<double>(region.displayID),
                                                   region.rect.origin.x, region.rect.origin.y,
                                                   region.rect.size.width, region.rect.size.height});
}

void ScreenRecorderManager::handleSelectionChanges() {
    selectedMicDeviceID.onChange([this](const auto&) {
        selectedMicChannelIndex.set(0);
        noteLastUsedAudioDevice(*selectedMicDeviceID);
        startTask(&ScreenRecorderManager::configureMicPreview);
    });
    selectedDawDeviceID.onChange([this](const auto&) {
        noteLastUsedAudioDevice(*selectedDawDeviceID);
        startTask(&ScreenRecorderManager::configureDawPreview);
    });
    selectedMicChannelIndex.onChange([this](int) { syncRoutingCache(); });
    extraAudioInputs.onChange([this](const auto& old) { extraAudioInputsChanged(old); });
    captureSystemAudioForDaw.onChange([this](bool) { captureSystemAudioChanged(); });
}

} // namespace vintra

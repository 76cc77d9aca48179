#include "Vintra/app/MicTrackRows.h"

#include "Vintra/app/DeviceMenu.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr double kLargestGainDB = 60;
constexpr const char* kNoMicrophone = "No microphone connected";

} // namespace

MicTrackRows::MicTrackRows(const AppSurroundings& surroundings, std::function<void()> changed)
    : surroundings(surroundings)
    , silence(surroundings, std::move(changed)) {}

std::vector<TrackRow> MicTrackRows::rows() const {
    const auto& extras = *surroundings.recorder.extraAudioInputs;
    std::vector<MicTrackRow> inputs{microphone()};
    for (size_t n = 0; n < extras.size(); ++n)
        inputs.push_back(extraInput(extras[n], n));
    inputs.back().showAddLink = true;
    std::vector<TrackRow> rows;
    for (MicTrackRow& input : inputs) {
        const std::string id = input.config ? "extra-" + input.config->uuidString() : "microphone";
        rows.push_back({id, std::move(input)});
    }
    return rows;
}

MicTrackRow MicTrackRows::microphone() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const auto& device = *recorder.selectedMicDeviceID;
    return {.name = *recorder.micTrackName,
            .namePlaceholder = TrackTexts::microphone,
            .deviceID = device,
            .availableDevices = devices(device),
            .channelIndex = *recorder.selectedMicChannelIndex,
            .channelCount = device ? recorder.channelCount(*device) : 1,
            .gainDB = *recorder.micGainDB,
            .meterSource = LevelKey::mic(),
            .isSilent = silence.isSilent(LevelKey::mic()),
            .disabled = isLocked(),
            .canArm = deviceToArm(std::nullopt).has_value()};
}

MicTrackRow MicTrackRows::extraInput(const ExtraAudioInputConfig& config, size_t index) const {
    return {.config = config.id,
            .name = config.name,
            .namePlaceholder = std::string(TrackTexts::microphone) + " " + std::to_string(index + 2),
            .deviceID = config.deviceID,
            .availableDevices = devices(config.deviceID),
            .channelIndex = config.channelIndex,
            .channelCount = config.deviceID ? surroundings.recorder.channelCount(*config.deviceID) : 1,
            .gainDB = config.gainDB,
            .meterSource = LevelKey::extra(config.id),
            .isSilent = silence.isSilent(LevelKey::extra(config.id)),
            .disabled = isLocked(),
            .canArm = deviceToArm(config.id).has_value()};
}

MenuState MicTrackRows::devices(const std::optional<std::string>& selected) const {
    return deviceMenu(realAudioInputs(surroundings.recorder), selected, kNoMicrophone);
}

std::optional<std::string> MicTrackRows::deviceOf(const Row& row) const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    if (!row) return *recorder.selectedMicDeviceID;
    const auto found = std::ranges::find(*recorder.extraAudioInputs, *row, &ExtraAudioInputConfig::id);
    return found == recorder.extraAudioInputs->end() ? std::nullopt : found->deviceID;
}

std::optional<std::string> MicTrackRows::deviceToArm(const Row& row) const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const std::vector<MenuOption> inputs = realAudioInputs(recorder);
    const auto last = lastDeviceIDs.find(row);
    if (last != lastDeviceIDs.end() && std::ranges::count(inputs, last->second, &MenuOption::id) > 0)
        return last->second;
    const auto isFree = [&](const MenuOption& input) {
        if (input.id == *recorder.selectedDawDeviceID || input.id == *recorder.selectedMicDeviceID)
            return false;
        return std::ranges::none_of(*recorder.extraAudioInputs,
                                    [&](const auto& config) { return config.deviceID == input.id; });
    };
    const auto free = std::ranges::find_if(inputs, isFree);
    if (free != inputs.end()) return free->id;
    // A further row may record another channel of a device that is in use.
    return row && !inputs.empty() ? std::optional(inputs.front().id) : std::nullopt;
}

bool MicTrackRows::isLocked() const {
    return *surroundings.recorder.isRecording;
}

void MicTrackRows::setArmed(const Row& row, bool armed) {
    if (armed == deviceOf(row).has_value()) return;
    setDevice(row, armed ? deviceToArm(row) : std::nullopt);
}

void MicTrackRows::setDevice(const Row& row, const std::optional<std::string>& deviceID) {
    if (isLocked()) return;
    if (const auto before = deviceOf(row)) lastDeviceIDs[row] = *before;
    if (!row) {
        surroundings.recorder.selectedMicDeviceID.set(deviceID);
        return;
    }
    change(*row, [&](ExtraAudioInputConfig& config) {
        if (deviceID && config.deviceID != deviceID) config.channelIndex = 0;
        config.deviceID = deviceID;
    });
}

void MicTrackRows::setName(const Row& row, const std::string& name) {
    if (isLocked()) return;
    if (!row) {
        surroundings.recorder.micTrackName.set(name);
        return;
    }
    change(*row, [&](ExtraAudioInputConfig& config) { config.name = name; });
}

void MicTrackRows::setChannel(const Row& row, int channelIndex) {
    const auto device = deviceOf(row);
    const int count = device ? surroundings.recorder.channelCount(*device) : 0;
    if (isLocked() || channelIndex < 0 || channelIndex >= count) return;
    if (!row) {
        surroundings.recorder.selectedMicChannelIndex.set(channelIndex);
        return;
    }
    change(*row, [&](ExtraAudioInputConfig& config) { config.channelIndex = channelIndex; });
}

void MicTrackRows::setGain(const Row& row, double gainDB) {
    if (isLocked() || !std::isfinite(gainDB)) return;
    const double gain = std::clamp(gainDB, -kLargestGainDB, kLargestGainDB);
    if (!row) {
        surroundings.recorder.micGainDB.set(gain);
        return;
    }
    change(*row, [&](ExtraAudioInputConfig& config) { config.gainDB = gain; });
}

void MicTrackRows::addMicrophone() {
    if (isLocked()) return;
    const UUID id = surroundings.platform.processInfo->makeUUID();
    surroundings.recorder.extraAudioInputs.update([&](auto& rows) { rows.push_back({.id = id}); });
}

void MicTrackRows::removeMicrophone(const UUID& config) {
    if (isLocked()) return;
    lastDeviceIDs.erase(config);
    surroundings.recorder.extraAudioInputs.update(
        [&](auto& rows) { std::erase_if(rows, [&](const auto& row) { return row.id == config; }); });
}

template <typename Change>
void MicTrackRows::change(const UUID& config, Change how) {
    surroundings.recorder.extraAudioInputs.update([&](auto& rows) {
        for (ExtraAudioInputConfig& row : rows) {
            if (row.id == config) how(row);
        }
    });
}

} // namespace vintra

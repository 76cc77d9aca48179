#include "Vintra/app/InputSilence.h"

#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

namespace vintra {
namespace {

constexpr int64_t kTickNanoseconds = 1'000'000'000;

} // namespace

InputSilence::InputSilence(const AppSurroundings& surroundings, std::function<void()> changed)
    : surroundings(surroundings)
    , changed(std::move(changed)) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    const auto follow = [this](const auto&) { followSelection(); };
    const auto listen = [this](LevelKey::Kind kind) {
        return [this, kind](const auto&) { followLevels(kind); };
    };
    observations = {recorder.selectedMicDeviceID.observe(follow), recorder.extraAudioInputs.observe(follow),
                    recorder.levels->micLevel.observe(listen(LevelKey::Kind::mic)),
                    recorder.levels->extraInputLevels.observe(listen(LevelKey::Kind::extra))};
    followSelection();
}

bool InputSilence::isSilent(const LevelKey& input) const {
    const auto found = inputs.find(input);
    return found != inputs.end() && found->second.quietSeconds >= kSecondsOfSilence;
}

/// Another device has its time from the start.
void InputSilence::followSelection() {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    std::map<LevelKey, Watched> armed;
    const auto add = [&](const LevelKey& input, const std::optional<std::string>& device) {
        if (!device) return;
        const auto before = inputs.find(input);
        const bool isSame = before != inputs.end() && before->second.device == *device;
        armed[input] = isSame ? before->second : Watched{*device};
    };
    add(LevelKey::mic(), *recorder.selectedMicDeviceID);
    for (const ExtraAudioInputConfig& config : *recorder.extraAudioInputs)
        add(LevelKey::extra(config.id), config.deviceID);
    inputs = std::move(armed);
    if (inputs.empty()) {
        timer = nullptr;
    } else if (!timer) {
        const Platform& platform = surroundings.platform;
        timer = std::make_unique<MainThreadTimer>(*platform.dispatchQueues, *platform.mainThread,
                                                  kTickNanoseconds, [this] { tick(); });
    }
}

void InputSilence::followLevels(LevelKey::Kind kind) {
    bool isNews = false;
    for (auto& [input, watched] : inputs) {
        if (input.kind != kind || surroundings.recorder.levels->level(input) <= 0) continue;
        isNews = isNews || watched.quietSeconds >= kSecondsOfSilence;
        watched.quietSeconds = 0;
    }
    if (isNews) changed();
}

void InputSilence::tick() {
    bool isNews = false;
    for (auto& [input, watched] : inputs)
        isNews = ++watched.quietSeconds == kSecondsOfSilence || isNews;
    if (isNews) changed();
}

} // namespace vintra

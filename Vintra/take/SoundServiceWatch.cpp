#include "Vintra/take/SoundServiceWatch.h"

#include "Vintra/take/RunningTake.h"
#include "Vintra/take/Text.h"

#include <utility>
#include <vector>

namespace vintra {
namespace {

constexpr int64_t kBetweenRestores =
    1'000'000'000;                   // nanoseconds; the first one waits until a default is chosen
constexpr int kSecondsToSettle = 10; // a sound card may take some to be found again

std::vector<std::string> soundTracks(const RunningTake& take) {
    std::vector<std::string> names;
    if (take.micTrack) names.emplace_back("Mic");
    if (take.dawTrack) names.emplace_back("Virtual input");
    if (!take.extraInputGroups.empty()) names.emplace_back("Extra input");
    return names;
}

} // namespace

SoundServiceWatch::SoundServiceWatch(const Surroundings& surroundings)
    : surroundings(surroundings)
    , tasks(*surroundings.platform.mainThread) {}

void SoundServiceWatch::observe(std::function<void()> settled) {
    hasSettled = std::move(settled);
    runs = surroundings.platform.audioHardware->isServiceRunning();
    listener = surroundings.platform.audioHardware->addPropertyListener(
        kAudioObjectSystemObject, AudioProperty::service, tasks.guarded([this] { look(); }));
}

bool SoundServiceWatch::isAway() {
    look();
    return !runs;
}

bool SoundServiceWatch::isUnsettled() {
    return isAway() || timer != nullptr;
}

/// The devices may be told of before the service, or after it.
void SoundServiceWatch::look() {
    const bool runsNow = surroundings.platform.audioHardware->isServiceRunning();
    if (runsNow == std::exchange(runs, runsNow)) return;
    if (!runs) {
        timer = nullptr;
        surroundings.previews.serviceHasEnded();
        tellOfEnd();
        return;
    }
    surroundings.previews.serviceIsBack();
    secondsToSettle = kSecondsToSettle;
    timer = std::make_unique<MainThreadTimer>(*surroundings.platform.dispatchQueues,
                                              *surroundings.platform.mainThread, kBetweenRestores,
                                              [this] { settle(); });
}

void SoundServiceWatch::tellOfEnd() {
    if (!*surroundings.isRecording || !surroundings.take) return;
    const auto names = soundTracks(*surroundings.take);
    if (names.empty()) return;
    surroundings.lastError.set(
        "Your " + surroundings.platform.words.computer + "'s sound service stopped mid-recording, so " +
        joined(names, " and ") +
        " stopped receiving data until it is back — other tracks are still recording.");
}

void SoundServiceWatch::settle() {
    --secondsToSettle;
    if (!std::exchange(isRestoring, true)) tasks.start(restore(secondsToSettle <= 0));
    if (secondsToSettle > 0) return;
    timer = nullptr;
    hasSettled();
}

Task<> SoundServiceWatch::restore(bool isLastTry) {
    co_await surroundings.previews.restore(isLastTry);
    isRestoring = false;
}

} // namespace vintra

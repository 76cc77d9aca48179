#include "Vintra/take/MultiCameraScreenRate.h"

#include <cstdint>
#include <utility>

namespace vintra {
namespace {

constexpr int kSeveralCameras = 2;
constexpr int kLowRate = 30; // frames a second
constexpr const char* kRateBeforeKey = "screenFrameRateBeforeMultiCamera";

} // namespace

MultiCameraScreenRate::MultiCameraScreenRate(std::shared_ptr<UserDefaults> userDefaults,
                                             CameraSelection& cameras, ScreenSelection& screen,
                                             const Published<bool>& isRecording)
    : userDefaults(std::move(userDefaults))
    , cameras(cameras)
    , screen(screen)
    , isRecording(isRecording) {
    cameras.selectedCameraDeviceID.onChange([this](const auto&) { reconcile(); });
    cameras.extraCameras.onChange([this](const auto&) { reconcile(); });
    screen.screenFrameRate.onChange([this](int) { screenFrameRateChanged(); });
}

void MultiCameraScreenRate::reconcile() {
    if (*isRecording) return;
    if (cameras.armedCameraCount() < kSeveralCameras) {
        putRateBack();
    } else if (std::holds_alternative<Idle>(multiCameraScreenRate) && *screen.screenFrameRate > kLowRate) {
        lowerRate();
    }
}

void MultiCameraScreenRate::lowerRate() {
    const int rate = *screen.screenFrameRate;
    multiCameraScreenRate = Switched{.from = rate};
    userDefaults->set(kRateBeforeKey, static_cast<int64_t>(rate));
    setAutomatically(kLowRate);
    cameras.multiCameraScreenRateNote.set(rate);
}

void MultiCameraScreenRate::putRateBack() {
    const State before = std::exchange(multiCameraScreenRate, Idle{});
    const auto* const switched = std::get_if<Switched>(&before);
    if (!switched) return;
    userDefaults->remove(kRateBeforeKey);
    if (*screen.screenFrameRate == kLowRate) setAutomatically(switched->from);
    cameras.multiCameraScreenRateNote.set(std::nullopt);
}

void MultiCameraScreenRate::setAutomatically(int rate) {
    settingScreenRateAutomatically = true;
    screen.screenFrameRate.set(rate);
    settingScreenRateAutomatically = false;
}

void MultiCameraScreenRate::screenFrameRateChanged() {
    if (settingScreenRateAutomatically || cameras.armedCameraCount() < kSeveralCameras) return;
    multiCameraScreenRate = Overridden{};
    cameras.multiCameraScreenRateNote.set(std::nullopt);
    userDefaults->remove(kRateBeforeKey);
}

} // namespace vintra

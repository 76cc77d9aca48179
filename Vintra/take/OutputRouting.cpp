// The computer's own sound. The relay from the virtual device to the real output isn't built yet: a take that
// asks for computer audio finds no relay and is refused with the sentence for that.

#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {

Task<> ScreenRecorderManager::startSystemAudioRelayIfNeeded() {
    co_return;
}

void ScreenRecorderManager::stopSystemAudioRelay() {}

bool ScreenRecorderManager::hasSystemAudioRelay() const {
    return false;
}

std::shared_ptr<AVCaptureDevice> ScreenRecorderManager::virtualAudioCaptureDevice() const {
    return nullptr;
}

bool ScreenRecorderManager::usesVirtualAudioDevice() const {
    return *captureSystemAudioForDaw && virtualAudioCaptureDevice() && hasSystemAudioRelay();
}

void ScreenRecorderManager::noteOutputClock() {}

void ScreenRecorderManager::forgetOutputClock() {}

} // namespace vintra

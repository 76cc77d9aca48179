#include "Vintra/platform/CaptureAccess.h"

namespace vintra {

Task<bool> requestAccessIfNeeded(std::shared_ptr<CaptureDevices> devices, MainThread& mainThread,
                                 AVMediaType mediaType) {
    switch (devices->authorizationStatus(mediaType)) {
    case AVAuthorizationStatus::authorized:
        co_return true;
    case AVAuthorizationStatus::denied:
    case AVAuthorizationStatus::restricted:
        co_return false;
    case AVAuthorizationStatus::notDetermined:
        break;
    }
    const auto ask = [devices, mediaType](auto done) { devices->requestAccess(mediaType, done); };
    co_return co_await awaitCompletion<bool>(mainThread, ask);
}

} // namespace vintra

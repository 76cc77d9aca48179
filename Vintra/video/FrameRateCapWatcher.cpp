#include "Vintra/video/FrameRateCapWatcher.h"

#include "Vintra/platform/FixedText.h"

#include <utility>

namespace vintra {
namespace {

constexpr int64_t kFirstLookNanoseconds = 250'000'000;
constexpr int64_t kLookNanoseconds = 1'000'000'000;
constexpr int64_t kLookLeewayNanoseconds = 100'000'000;
constexpr const char* kCameraRateLog = "camera-rate";
constexpr int kRateDecimals = 6;

/// What a look needs: the camera and what it is held to, and nothing of who watches.
struct HeldCamera {
    void look() const {
        if (hold.hasLeftFormat(device->activeFormat())) {
            putFormatBack();
        } else if (hold.hasLeftRate(device->activeFormat(), device->activeVideoMinFrameDuration())) {
            putRateBack();
        }
    }

    void putFormatBack() const {
        if (!device->lockForConfiguration()) return;
        device->setActiveFormat(*hold.format);
        hold.applyRate(*device);
        device->unlockForConfiguration();
        reasserts->add(1);
        log->write(kCameraRateLog, LogLevel::standard,
                   device->localizedName() + " had left its chosen format; put back");
    }

    void putRateBack() const {
        const double was = CMTimeGetSeconds(device->activeVideoMinFrameDuration());
        if (!device->lockForConfiguration()) return;
        // It may have changed its format meanwhile, so the duration is worked out anew.
        const bool isHeld = hold.applyRate(*device);
        const auto want = hold.frameDuration(device->activeFormat());
        device->unlockForConfiguration();
        if (!isHeld || !want) return;
        reasserts->add(1);
        log->write(kCameraRateLog, LogLevel::standard,
                   device->localizedName() + " was at " + fixedText(1 / was, kRateDecimals) +
                       " fps; put back to " + fixedText(1 / CMTimeGetSeconds(*want), kRateDecimals) + " fps");
    }

    std::shared_ptr<AVCaptureVideoDevice> device;
    CameraHold hold;
    std::shared_ptr<DropCounter> reasserts;
    std::shared_ptr<Log> log;
};

} // namespace

FrameRateCapWatcher::FrameRateCapWatcher(std::shared_ptr<AVCaptureVideoDevice> device, CameraHold hold,
                                         DispatchQueue& queue, std::shared_ptr<Log> log)
    : reasserts(std::make_shared<DropCounter>())
    , timer(queue.makeTimer({.delayNanoseconds = kFirstLookNanoseconds,
                             .intervalNanoseconds = kLookNanoseconds,
                             .leewayNanoseconds = kLookLeewayNanoseconds},
                            [held = HeldCamera{std::move(device), std::move(hold), reasserts,
                                               std::move(log)}] { held.look(); })) {
    timer->resume();
}

} // namespace vintra

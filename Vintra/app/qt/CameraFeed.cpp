#include "Vintra/app/qt/CameraFeed.h"

#include "Vintra/app/qt/ShrunkPicture.h"
#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Mutex.h"

#include <atomic>
#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsBetweenPictures = 1.0 / 16; // of a camera at 30 every second one, with some jitter

} // namespace

/// Outlives the feed for as long as a queue works on a picture.
struct CameraFeed::Shared : std::enable_shared_from_this<Shared> {
    explicit Shared(const Platform& platform)
        : mainThread(platform.mainThread)
        , clock(platform.hostClock)
        , queue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.cameraPreview")) {}

    /// On the camera's queue.
    void offer(const std::shared_ptr<CVPixelBuffer>& picture) {
        const double now = CMTimeGetSeconds(clock->now());
        if (now - lastOffer < kSecondsBetweenPictures || isBusy.exchange(true)) return;
        lastOffer = now;
        queue->async(
            [self = shared_from_this(), picture] { self->take(shrunkPicture(*picture, self->wanted())); });
    }
    void take(QImage image) {
        isBusy = false;
        mainThread->post([self = shared_from_this(), image = std::move(image)] {
            if (!self->feed || image.isNull()) return;
            self->feed->latest = image;
            Q_EMIT self->feed->pictureChanged();
        });
    }
    QSize wanted() const EXCLUDES(mutex) {
        MutexLock lock(mutex);
        return size;
    }

    const std::shared_ptr<MainThread> mainThread;
    const std::shared_ptr<HostClock> clock;
    const std::shared_ptr<DispatchQueue> queue;
    CameraFeed* feed = nullptr; ///< main thread
    double lastOffer = 0;       ///< camera's queue
    std::atomic<bool> isBusy = false;
    mutable Mutex mutex;
    QSize size GUARDED_BY(mutex){240, 135};
};

CameraFeed::CameraFeed(const Platform& platform, QObject* parent)
    : QObject(parent)
    , shared(std::make_shared<Shared>(platform)) {
    shared->feed = this;
}

CameraFeed::~CameraFeed() {
    shared->feed = nullptr;
}

void CameraFeed::setSession(std::shared_ptr<AVCaptureSession> newSession) {
    if (session == newSession) return;
    session = std::move(newSession);
    latest = {};
    Q_EMIT pictureChanged();
    follow();
}

void CameraFeed::setWatched(bool watched) {
    if (std::exchange(isWatched, watched) != watched) follow();
}

void CameraFeed::setSize(QSize pixels) {
    MutexLock lock(shared->mutex);
    shared->size = pixels;
}

void CameraFeed::follow() {
    observation = nullptr;
    if (!session || !isWatched) return;
    observation = session->observePictures(
        [shared = shared](const std::shared_ptr<CVPixelBuffer>& picture) { shared->offer(picture); });
}

} // namespace vintra

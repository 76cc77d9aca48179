#include "Vintra/video/Cameras.h"

#include "Vintra/platform/Drain.h"

#include <algorithm>

namespace vintra {

Cameras::Cameras(const CameraSurroundings& surroundings)
    : surroundings(surroundings)
    , formats(surroundings.platform, surroundings.selection, surroundings.sessionControl)
    , webcamTap(std::make_shared<CameraTap>(surroundings.platform.hostClock))
    , samplePath(std::make_shared<CameraSamplePath>(webcamTap))
    , first(surroundings, formats, samplePath, webcamTap, [this] { return isHeld(); })
    , extra(surroundings, formats, samplePath, [this] { return isHeld(); }) {}

Cameras::~Cameras() = default;

Task<> Cameras::settle() {
    const auto isSettled = [this] { return !first.isConfiguring() && !extra.isReconciling(); };
    const auto nextTurn = [main = surroundings.platform.mainThread](auto done) { main->post(done); };
    const bool hasNone =
        surroundings.selection.armedCameraCount() == 0 && !first.device() && extra.rigs().empty();
    if (hasNone && isSettled()) co_return;
    do {
        co_await awaitCompletion<void>(*surroundings.platform.mainThread, nextTurn);
        co_await surroundings.sessionControl.settle();
    } while (!isSettled());
}

Task<> Cameras::end() {
    const auto used = queues();
    co_await first.end();
    co_await extra.end();
    for (const auto& queue : used)
        co_await drain(*surroundings.platform.mainThread, queue);
}

CameraResolution Cameras::cameraResolution(const std::string& forCamera) const {
    return formats.cameraResolution(forCamera);
}

void Cameras::setCameraResolution(CameraResolution resolution, const std::string& forCamera) {
    if (isHeld() || cameraResolution(forCamera) == resolution) return;
    surroundings.selection.cameraResolutions.update([&](auto& resolutions) {
        if (resolution == CameraResolution::hd) {
            resolutions[forCamera] = resolution;
        } else {
            resolutions.erase(forCamera);
        }
    });
    if (first.device() && first.device()->uniqueID() == forCamera) first.holdAnew();
    extra.holdAnew(forCamera);
}

int Cameras::webcamNumber(const ExtraCameraRig& rig) const {
    const auto& rows = *surroundings.selection.extraCameras;
    const auto row = std::ranges::find(rows, rig.configID, &ExtraCameraConfig::id);
    if (row != rows.end()) return static_cast<int>(row - rows.begin()) + 2;
    const auto position = std::ranges::find(extra.rigs(), rig.configID, &ExtraCameraRig::configID);
    return static_cast<int>(rows.size()) + static_cast<int>(position - extra.rigs().begin()) + 2;
}

int32_t Cameras::beat(const AVCaptureVideoDevice& device) const {
    return CameraWriteQueue::beat(&device, formats.cap());
}

int64_t Cameras::reasserts() const {
    int64_t sum = first.capWatcher() ? first.capWatcher()->reasserts->read() : 0;
    for (const ExtraCameraRig& rig : extra.rigs()) {
        if (rig.capWatcher) sum += rig.capWatcher->reasserts->read();
    }
    return sum;
}

void Cameras::begin(CMTime commonStart, const Recordings& recordings) {
    webcamTap->begin(commonStart, CameraWriteQueue::beat(first.device().get(), formats.cap()));
    for (const ExtraCameraRecording& camera : recordings.extraCameras) {
        const auto rig = std::ranges::find(extra.rigs(), camera.tap, &ExtraCameraRig::tap);
        const AVCaptureVideoDevice* const device = rig == extra.rigs().end() ? nullptr : rig->device.get();
        camera.tap->begin(commonStart, CameraWriteQueue::beat(device, formats.cap()));
    }
}

void Cameras::release() {
    isInTake = false;
    if (isHeld()) return;
    first.catchUp();
    extra.catchUp();
}

void Cameras::open(const Recordings& recordings) {
    if (recordings.webcamInput) {
        webcamTap->resetCounters();
        webcamTap->setInput(recordings.webcamInput);
    }
    for (const ExtraCameraRecording& camera : recordings.extraCameras) {
        camera.tap->resetCounters();
        camera.tap->setInput(camera.input);
    }
}

void Cameras::closeWebcam() {
    webcamTap->setInput(nullptr);
}

void Cameras::closeExtraCameras() {
    for (const ExtraCameraRig& rig : extra.rigs())
        rig.tap->setInput(nullptr);
}

std::vector<std::shared_ptr<DispatchQueue>> Cameras::queues() const {
    std::vector<std::shared_ptr<DispatchQueue>> queues{first.queue()};
    for (const ExtraCameraRig& rig : extra.rigs())
        queues.push_back(rig.queue);
    return queues;
}

Task<> Cameras::flush(std::shared_ptr<AVAssetWriterInput> webcamInput,
                      std::vector<ExtraCameraRecording> extraCameras) {
    if (webcamInput) co_await flush(webcamTap, webcamInput);
    for (const ExtraCameraRecording& camera : extraCameras)
        co_await flush(camera.tap, camera.input);
}

Task<> Cameras::flush(std::shared_ptr<CameraTap> tap, std::shared_ptr<AVAssetWriterInput> into) {
    const auto background =
        surroundings.platform.dispatchQueues->globalQueue(QualityOfService::userInitiated);
    const auto begin = [background, queue = tap->writeQueue, into](auto done) {
        background->async([queue, into, done] { done(queue->flush(into)); });
    };
    tap->count(co_await awaitCompletion<CameraWriteQueue::Result>(*surroundings.platform.mainThread, begin));
}

void Cameras::clear() {
    webcamTap->writeQueue->clear();
    for (const ExtraCameraRig& rig : extra.rigs())
        rig.tap->writeQueue->clear();
}

void Cameras::resetCounters(const std::vector<ExtraCameraRecording>& extraCameras) {
    webcamTap->resetCounters();
    for (const ExtraCameraRecording& camera : extraCameras)
        camera.tap->resetCounters();
}

std::vector<RecordingCamera> Cameras::recordingCameras(const Recordings& recordings) const {
    std::vector<RecordingCamera> cameras;
    if (recordings.webcamInput && first.device()) {
        const std::string& name = first.device()->localizedName();
        cameras.push_back({"webcam (" + name + ")", name, first.device()->uniqueID(), webcamTap});
    }
    for (const ExtraCameraRecording& camera : recordings.extraCameras)
        cameras.push_back({camera.label, camera.name, camera.deviceID, camera.tap});
    return cameras;
}

} // namespace vintra

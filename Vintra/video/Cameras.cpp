#include "Vintra/video/Cameras.h"

#include "Vintra/video/CameraSamplePath.h"

#include <algorithm>

namespace vintra {

Cameras::Cameras(const Platform& platform, const CameraSelection& selection)
    : platform(platform)
    , selection(selection)
    , webcamTap(std::make_shared<CameraTap>(platform.hostClock))
    , samplePath(std::make_shared<CameraSamplePath>(webcamTap))
    , webcamOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.webcamOutput")) {}

Cameras::~Cameras() = default;

int Cameras::webcamNumber(const ExtraCameraRig& rig) const {
    const auto& rows = *selection.extraCameras;
    const auto row = std::ranges::find(rows, rig.configID, &ExtraCameraConfig::id);
    if (row != rows.end()) return static_cast<int>(row - rows.begin()) + 2;
    const auto position = std::ranges::find(extraCameraRigs_, rig.configID, &ExtraCameraRig::configID);
    return static_cast<int>(rows.size()) + static_cast<int>(position - extraCameraRigs_.begin()) + 2;
}

int32_t Cameras::beat(const AVCaptureDevice* device) {
    return CameraWriteQueue::beat(device ? device->activeVideoMinFrameDuration() : kCMTimeInvalid);
}

void Cameras::begin(CMTime commonStart, const Recordings& recordings) {
    webcamTap->begin(commonStart, beat(webcamDevice_.get()));
    for (const ExtraCameraRecording& camera : recordings.extraCameras) {
        const auto rig = std::ranges::find(extraCameraRigs_, camera.tap, &ExtraCameraRig::tap);
        const AVCaptureDevice* const device = rig == extraCameraRigs_.end() ? nullptr : rig->device.get();
        camera.tap->begin(commonStart, beat(device));
    }
}

void Cameras::open(const Recordings& recordings) {
    if (recordings.webcamInput) webcamTap->setInput(recordings.webcamInput);
    for (const ExtraCameraRecording& camera : recordings.extraCameras) {
        camera.tap->resetCounters();
        camera.tap->setInput(camera.input);
    }
}

void Cameras::closeWebcam() {
    webcamTap->setInput(nullptr);
}

void Cameras::closeExtraCameras() {
    for (const ExtraCameraRig& rig : extraCameraRigs_)
        rig.tap->setInput(nullptr);
}

std::vector<std::shared_ptr<DispatchQueue>> Cameras::queues() const {
    std::vector<std::shared_ptr<DispatchQueue>> queues{webcamOutputQueue};
    for (const ExtraCameraRig& rig : extraCameraRigs_)
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
    const auto background = platform.dispatchQueues->globalQueue(QualityOfService::userInitiated);
    const auto begin = [background, queue = tap->writeQueue, into](auto done) {
        background->async([queue, into, done] { done(queue->flush(into)); });
    };
    tap->count(co_await awaitCompletion<CameraWriteQueue::Result>(*platform.mainThread, begin));
}

void Cameras::clear() {
    webcamTap->writeQueue->clear();
    for (const ExtraCameraRig& rig : extraCameraRigs_)
        rig.tap->writeQueue->clear();
}

void Cameras::resetCounters(const std::vector<ExtraCameraRecording>& extraCameras) {
    webcamTap->resetCounters();
    for (const ExtraCameraRecording& camera : extraCameras)
        camera.tap->resetCounters();
}

std::vector<RecordingCamera> Cameras::recordingCameras(const Recordings& recordings) const {
    std::vector<RecordingCamera> cameras;
    if (recordings.webcamInput && webcamDevice_) {
        const std::string& name = webcamDevice_->localizedName();
        cameras.push_back({"webcam (" + name + ")", name, webcamDevice_->uniqueID(), webcamTap});
    }
    for (const ExtraCameraRecording& camera : recordings.extraCameras)
        cameras.push_back({camera.label, camera.name, camera.deviceID, camera.tap});
    return cameras;
}

} // namespace vintra

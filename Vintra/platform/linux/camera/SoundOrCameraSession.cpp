#include "Vintra/platform/linux/camera/SoundOrCameraSession.h"

#include "Vintra/platform/linux/camera/PipeWireCamera.h"

#include <utility>

namespace vintra {

PipeWireCameraInput::PipeWireCameraInput(std::shared_ptr<PipeWireCamera> camera)
    : camera(std::move(camera)) {}

PipeWireCameraInput::~PipeWireCameraInput() = default;

void PipeWireVideoDataOutput::setSampleBufferDelegate(
    std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> to, std::shared_ptr<DispatchQueue> onQueue) {
    Target former{std::move(to), std::move(onQueue)};
    MutexLock lock(mutex);
    std::swap(target_, former); // what it was goes after the lock
}

PipeWireVideoDataOutput::Target PipeWireVideoDataOutput::target() const {
    MutexLock lock(mutex);
    return target_;
}

SoundOrCameraSession::SoundOrCameraSession(std::shared_ptr<AVCaptureSession> sound)
    : sound(std::move(sound)) {}

SoundOrCameraSession::~SoundOrCameraSession() {
    if (input) input->camera->stop(*this);
}

bool SoundOrCameraSession::canAddInput(const AVCaptureDeviceInput& newInput) const {
    if (input) return false;
    if (dynamic_cast<const PipeWireCameraInput*>(&newInput) != nullptr) return !hasSound;
    return !output && sound->canAddInput(newInput);
}

void SoundOrCameraSession::addInput(std::shared_ptr<AVCaptureDeviceInput> newInput) {
    if (!newInput || !canAddInput(*newInput)) return;
    input = std::dynamic_pointer_cast<PipeWireCameraInput>(newInput);
    if (input) return;
    hasSound = true;
    sound->addInput(std::move(newInput));
}

bool SoundOrCameraSession::canAddOutput(const AVCaptureOutput& newOutput) const {
    if (output) return false;
    if (dynamic_cast<const PipeWireVideoDataOutput*>(&newOutput) != nullptr) return !hasSound;
    return !input && sound->canAddOutput(newOutput);
}

void SoundOrCameraSession::addOutput(std::shared_ptr<AVCaptureOutput> newOutput) {
    if (!newOutput || !canAddOutput(*newOutput)) return;
    output = std::dynamic_pointer_cast<PipeWireVideoDataOutput>(newOutput);
    if (output) return;
    hasSound = true;
    sound->addOutput(std::move(newOutput));
}

void SoundOrCameraSession::startRunning() {
    if (!input) {
        sound->startRunning();
        return;
    }
    if (!output || isRunning()) return;
    auto [delegate, queue] = output->target();
    if (!queue) return;
    pictures->setDelegate(std::move(delegate));
    input->camera->start(
        *this,
        {.session = weak_from_this(), .delegate = pictures, .queue = std::move(queue), .output = output});
}

void SoundOrCameraSession::stopRunning() {
    if (input) {
        input->camera->stop(*this);
    } else {
        sound->stopRunning();
    }
}

Observation
SoundOrCameraSession::observePictures(std::function<void(const std::shared_ptr<CVPixelBuffer>&)> block) {
    return input ? pictures->add(std::move(block)) : nullptr;
}

bool SoundOrCameraSession::isRunning() const {
    return input ? input->camera->isRunning(*this) : sound->isRunning();
}

} // namespace vintra

#include "Vintra/platform/linux/pipewire/PipeWireCaptureSession.h"

#include "Vintra/platform/linux/pipewire/PipeWireCaptureNotifier.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureStream.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsUntilCaptureRefused = 3.0;

AudioStreamBasicDescription layout(const AVAudioSettings& settings) {
    AudioStreamBasicDescription result = floatPCMDescription(settings.sampleRate, settings.numberOfChannels);
    if (settings.linearPCMIsFloat) {
        result.mBitsPerChannel = settings.linearPCMBitDepth;
    } else {
        result.mBitsPerChannel = settings.linearPCMBitDepth;
        result.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked;
    }
    if (settings.linearPCMIsBigEndian) result.mFormatFlags |= kAudioFormatFlagIsBigEndian;
    if (settings.linearPCMIsNonInterleaved) result.mFormatFlags |= kAudioFormatFlagIsNonInterleaved;
    result.mBytesPerFrame = result.mBitsPerChannel / 8 * result.mChannelsPerFrame;
    result.mBytesPerPacket = result.mBytesPerFrame;
    return result;
}

} // namespace

PipeWireAudioDataOutput::PipeWireAudioDataOutput(const AVAudioSettings& settings)
    : settings(settings)
    , format_(layout(settings)) {}

void PipeWireAudioDataOutput::setSampleBufferDelegate(
    std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> to, std::shared_ptr<DispatchQueue> onQueue) {
    MutexLock lock(mutex);
    delegate = std::move(to);
    queue.swap(onQueue); // the former queue goes with the parameter, after the lock
}

bool PipeWireAudioDataOutput::isUsable() const {
    return settings.formatID == kAudioFormatLinearPCM && PipeWireCaptureStream::canDeliver(format_);
}

PipeWireCaptureSession::PipeWireCaptureSession(std::shared_ptr<PipeWireConnection> connection,
                                               std::shared_ptr<PipeWireCaptureNotifier> notifier)
    : connection(std::move(connection))
    , notifier(std::move(notifier)) {}

PipeWireCaptureSession::~PipeWireCaptureSession() {
    stopRunning();
}

bool PipeWireCaptureSession::canAddInput(const AVCaptureDeviceInput& newInput) const {
    return input == nullptr && dynamic_cast<const PipeWireDeviceInput*>(&newInput) != nullptr;
}

void PipeWireCaptureSession::addInput(std::shared_ptr<AVCaptureDeviceInput> newInput) {
    if (newInput && canAddInput(*newInput)) input = std::static_pointer_cast<PipeWireDeviceInput>(newInput);
}

bool PipeWireCaptureSession::canAddOutput(const AVCaptureOutput& newOutput) const {
    const auto* sound = dynamic_cast<const PipeWireAudioDataOutput*>(&newOutput);
    return output == nullptr && sound != nullptr && sound->isUsable();
}

void PipeWireCaptureSession::addOutput(std::shared_ptr<AVCaptureOutput> newOutput) {
    if (newOutput && canAddOutput(*newOutput)) {
        output = std::static_pointer_cast<PipeWireAudioDataOutput>(newOutput);
    }
}

void PipeWireCaptureSession::startRunning() {
    if (!input || !output) return;
    std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate;
    std::shared_ptr<DispatchQueue> queue;
    {
        MutexLock lock(output->mutex);
        delegate = output->delegate;
        queue = output->queue;
    }
    const auto node = connection->devices().deviceNamed(input->deviceName);
    if (!node || !queue) return;

    PipeWireLock lock(connection->loop());
    if (stream && stream->isStreaming()) return;
    stream.reset();
    auto handler = [delegate, queue, source = std::weak_ptr(output)](CMSampleBuffer sample) {
        queue->async([delegate, source, sample = std::move(sample)] {
            const auto receiver = delegate.lock();
            const std::shared_ptr<AVCaptureOutput> sender = source.lock();
            if (receiver && sender) receiver->captureOutput(sender, sample);
        });
    };
    auto ended = [to = notifier, self = std::weak_ptr<AVCaptureSession>(weak_from_this()),
                  name = node->name] { to->sessionHasEnded(self, name); };
    stream = std::make_unique<PipeWireCaptureStream>(*connection, *node, output->format(), std::move(handler),
                                                     std::move(ended));
    const int64_t deadline = PipeWireLoop::deadlineIn(kSecondsUntilCaptureRefused);
    while (!stream->isStreaming() && !stream->hasEnded()) {
        if (!connection->loop().waitUntil(deadline)) break;
    }
    if (!stream->isStreaming()) stream.reset();
}

void PipeWireCaptureSession::stopRunning() {
    PipeWireLock lock(connection->loop());
    stream.reset();
}

bool PipeWireCaptureSession::isRunning() const {
    PipeWireLock lock(connection->loop());
    return stream && stream->isStreaming();
}

} // namespace vintra

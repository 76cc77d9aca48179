#include "Vintra/platform/linux/pipewire/PipeWireCaptureSession.h"

#include "Vintra/platform/Log.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureNotifier.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureStream.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireTimer.h"

#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsOfStart = 3.0;
constexpr double kSecondsUntilCaptureRefused =
    30.0; ///< after the start: Bluetooth takes up to 10 to change profiles

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

std::string reasonOf(const PipeWireCaptureStream::MissingSound& sound) {
    if (sound.leftOut > 0) {
        return " frames are missing: Vintra was too slow to take them (" + std::to_string(sound.leftOut) +
               " times).";
    }
    if (sound.graphGaps > 0) return " frames are missing: the sound server or the device lost them.";
    return " frames are missing.";
}

} // namespace

PipeWireAudioDataOutput::PipeWireAudioDataOutput(const AVAudioSettings& settings)
    : settings(settings)
    , format_(layout(settings)) {}

void PipeWireAudioDataOutput::setSampleBufferDelegate(
    std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> to, std::shared_ptr<DispatchQueue> onQueue) {
    Receiver former{std::move(to), std::move(onQueue)};
    MutexLock lock(mutex);
    std::swap(receiver_, former); // what it was goes after the lock
}

PipeWireAudioDataOutput::Receiver PipeWireAudioDataOutput::receiver() const {
    MutexLock lock(mutex);
    return receiver_;
}

bool PipeWireAudioDataOutput::isUsable() const {
    return settings.formatID == kAudioFormatLinearPCM && PipeWireCaptureStream::canDeliver(format_);
}

PipeWireCaptureSession::PipeWireCaptureSession(std::shared_ptr<PipeWireConnection> connection,
                                               std::shared_ptr<PipeWireCaptureNotifier> notifier,
                                               std::shared_ptr<Log> log)
    : connection(std::move(connection))
    , notifier(std::move(notifier))
    , log(std::move(log)) {}

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
    if (!input || !output || !output->receiver().queue) return;
    const auto node = connection->devices().deviceNamed(input->deviceName);
    if (!node) return;

    PipeWireLock lock(connection->loop());
    patience.reset();
    if (stream && stream->isStreaming()) return;
    if (!stream || !stream->mayStillBegin()) {
        stream.reset();
        stream = makeStream(*node);
    }
    const int64_t deadline = PipeWireLoop::deadlineIn(kSecondsOfStart);
    while (!stream->isStreaming() && !stream->hasEnded()) {
        if (!connection->loop().waitUntil(deadline)) break;
    }
    if (stream->hasEnded()) stream.reset();
    if (stream && stream->mayStillBegin()) waitOn(node->name);
}

std::unique_ptr<PipeWireCaptureStream> PipeWireCaptureSession::makeStream(const PipeWireNode& node) {
    const auto [delegate, queue] = output->receiver();
    auto handler = [delegate = delegate, queue = queue,
                    source = std::weak_ptr(output)](CMSampleBuffer sample) {
        queue->async([delegate, source, sample = std::move(sample)] {
            const auto receiver = delegate.lock();
            const std::shared_ptr<AVCaptureOutput> sender = source.lock();
            if (receiver && sender) receiver->captureOutput(sender, sample);
        });
    };
    auto ended = [to = notifier, self = std::weak_ptr<AVCaptureSession>(weak_from_this()),
                  name = node.name](CaptureEnd how) { to->sessionHasEnded(self, name, how); };
    auto missing = [to = log, name = node.name](const PipeWireCaptureStream::MissingSound& sound) {
        to->write("audio-capture", LogLevel::info,
                  name + ": " + std::to_string(sound.frames) + reasonOf(sound));
    };
    auto withoutRealTime = [to = notifier, log = log] { to->soundIsWithoutRealTime(*log); };
    return std::make_unique<PipeWireCaptureStream>(
        *connection, node, output->format(),
        PipeWireCaptureStream::Handlers{.sample = std::move(handler),
                                        .missing = std::move(missing),
                                        .withoutRealTime = std::move(withoutRealTime),
                                        .ended = std::move(ended)});
}

void PipeWireCaptureSession::waitOn(const std::string& device) {
    log->write("audio-capture", LogLevel::standard,
               device + " hasn't begun to send sound. It may still within half a minute.");
    patience = std::make_unique<PipeWireTimer>(connection->loop(), [this] {
        if (stream) stream->giveUpWaiting();
    });
    patience->startOver(kSecondsUntilCaptureRefused);
}

void PipeWireCaptureSession::stopRunning() {
    PipeWireLock lock(connection->loop());
    patience.reset();
    stream.reset();
}

bool PipeWireCaptureSession::isRunning() const {
    PipeWireLock lock(connection->loop());
    return stream && stream->isStreaming();
}

bool PipeWireCaptureSession::mayStillBegin() const {
    PipeWireLock lock(connection->loop());
    return stream && stream->mayStillBegin();
}

} // namespace vintra

#include "Vintra/platform/simulated/SimulatedCaptureSession.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace vintra {

namespace {

std::vector<float> secondOfTone(double rate) {
    std::vector<float> values;
    for (int64_t frame = 0; static_cast<double>(frame) < rate; ++frame)
        values.push_back(SimulatedAudioDevice::tone(frame, rate));
    return values;
}

std::shared_ptr<CMBlockBuffer> makeData(const std::vector<float>& values, size_t pieceCount) {
    const size_t length = values.size() * sizeof(float);
    const auto whole = CMBlockBuffer::make(length);
    std::memcpy(whole->contiguousBytes(), values.data(), length);
    if (pieceCount < 2) return whole;
    std::vector<CMBlockBuffer::Piece> pieces;
    for (size_t i = 0; i < pieceCount; ++i) {
        const size_t start = length * i / pieceCount;
        pieces.push_back({whole->contiguousBytes() + start, length * (i + 1) / pieceCount - start});
    }
    return CMBlockBuffer::make(std::move(pieces), whole);
}

} // namespace

SimulatedCaptureSession::SimulatedCaptureSession(Services services)
    : services(std::move(services)) {}

SimulatedCaptureSession::~SimulatedCaptureSession() {
    if (event) services.time->cancel(*event);
}

bool SimulatedCaptureSession::canAddInput(const AVCaptureDeviceInput& input) const {
    if (hasInput()) return false;
    if (const auto* camera = dynamic_cast<const SimulatedCameraInput*>(&input))
        return !camera->device->script().refusesInput;
    const auto* own = dynamic_cast<const SimulatedCaptureDeviceInput*>(&input);
    return own && !own->device->script().refusesInput;
}

void SimulatedCaptureSession::addInput(std::shared_ptr<AVCaptureDeviceInput> input) {
    if (!canAddInput(*input)) {
        services.violations->add("capture session: added an input that can't be added");
        return;
    }
    source = std::dynamic_pointer_cast<SimulatedCaptureDeviceInput>(input);
    cameraSource = std::dynamic_pointer_cast<SimulatedCameraInput>(input);
}

bool SimulatedCaptureSession::canAddOutput(const AVCaptureOutput& output) const {
    if (dynamic_cast<const SimulatedCaptureVideoDataOutput*>(&output))
        return cameraSource && !videoSink && !cameraSource->device->script().refusesOutput;
    const auto* own = dynamic_cast<const SimulatedCaptureAudioDataOutput*>(&output);
    return own && !sink && !cameraSource && !(source && source->device->script().refusesOutput);
}

void SimulatedCaptureSession::addOutput(std::shared_ptr<AVCaptureOutput> output) {
    if (!canAddOutput(*output)) {
        services.violations->add("capture session: added an output that can't be added");
        return;
    }
    sink = std::dynamic_pointer_cast<SimulatedCaptureAudioDataOutput>(output);
    videoSink = std::dynamic_pointer_cast<SimulatedCaptureVideoDataOutput>(output);
}

void SimulatedCaptureSession::startRunning() {
    if (isRunning() || !hasInput()) return;
    stopStreams();
    if (source && !source->device->isConnected()) source->device->findAgain();
    const auto self = shared_from_this();
    if (cameraSource) {
        startCamera();
        return;
    }
    const SimulatedAudioDevice& device = source->device->script();
    services.hostClock->sleep(static_cast<int64_t>(device.startSeconds * 1e6));
    if (device.failsToStart || !source->device->isConnected()) return;
    isOn = true;
    firstFrameNanoseconds =
        services.time->nowNanoseconds() + nanosecondsFromSeconds(device.firstFrameSeconds);
    nextFrame = 0;
    nextBuffer = 0;
    if (sink) toneSecond = secondOfTone(sink->settings.sampleRate);
    if (sink) scheduleBuffer();
}

bool SimulatedCaptureSession::isRunning() const {
    if (mayStillBegin()) return false;
    return isOn && (cameraSource ? cameraSource->device->isConnected() : source->device->isConnected());
}

bool SimulatedCaptureSession::mayStillBegin() const {
    return isOn && source && source->device->script().takesItsTime;
}

void SimulatedCaptureSession::startCamera() {
    SimulatedCamera& camera = cameraSource->device->script();
    camera.calls.emplace_back("start");
    services.hostClock->sleep(static_cast<int64_t>(camera.startSeconds * 1e6));
    if (camera.failsToStart || !cameraSource->device->isConnected()) return;
    if (camera.atStart) camera.atStart(camera);
    isOn = true;
    if (!videoSink) return;
    cameraStream = std::make_shared<SimulatedCameraStream>(services.time,
                                                           cameraSource->device->sharedScript(), videoSink);
    cameraStream->begin();
}

void SimulatedCaptureSession::stopRunning() {
    if (cameraSource) cameraSource->device->script().calls.emplace_back("stop");
    stopStreams();
}

std::string SimulatedCaptureSession::deviceUID() const {
    if (cameraSource) return cameraSource->device->uniqueID();
    return source ? source->device->uniqueID() : "";
}

void SimulatedCaptureSession::stopStreams() {
    isOn = false;
    if (cameraStream) cameraStream->end();
    if (event) services.time->cancel(*event);
    event.reset();
}

int64_t SimulatedCaptureSession::dueNanoseconds(int64_t frame) const {
    const double seconds =
        static_cast<double>(frame) / (sink->settings.sampleRate * source->device->script().clockRatio);
    return firstFrameNanoseconds + nanosecondsFromSeconds(seconds);
}

void SimulatedCaptureSession::scheduleBuffer() {
    const SimulatedAudioDevice& device = source->device->script();
    const int64_t late =
        device.lateness ? std::max<int64_t>(0, nanosecondsFromSeconds(device.lateness(nextBuffer))) : 0;
    event = services.time->at(dueNanoseconds(nextFrame + device.framesPerBuffer) + late,
                              [weak = weak_from_this()] {
                                  if (const auto self = weak.lock()) self->deliverBuffer();
                              });
}

void SimulatedCaptureSession::deliverBuffer() {
    event.reset();
    if (!isRunning() && !mayStillBegin()) {
        isOn = false; // and it stays so when the device comes back
        return;
    }
    const SimulatedAudioDevice& device = source->device->script();
    if (!device.isSilent && !device.takesItsTime && sink->queue) {
        std::optional<CMSampleBuffer> buffer = makeBuffer();
        if (device.alter) buffer = device.alter(std::move(*buffer));
        if (buffer) {
            ++deliveredBuffers;
            sink->queue->async([sink = sink, buffer = std::move(*buffer)] {
                if (const auto delegate = sink->delegate.lock()) delegate->captureOutput(sink, buffer);
            });
        }
    }
    nextFrame += device.framesPerBuffer;
    ++nextBuffer;
    scheduleBuffer();
}

/// What the device counts a frame of this session as.
int64_t SimulatedCaptureSession::deviceFrame(int64_t frame) const {
    const SimulatedAudioDevice& device = source->device->script();
    if (!device.isLoopback) return frame;
    const double deviceRate = device.nominalSampleRate * device.clockRatio;
    const auto first = std::llround(static_cast<double>(firstFrameNanoseconds) * 1e-9 * deviceRate);
    if (device.nominalSampleRate == sink->settings.sampleRate) return first + frame;
    return first + static_cast<int64_t>(static_cast<double>(frame) / sink->settings.sampleRate *
                                        device.nominalSampleRate);
}

CMSampleBuffer SimulatedCaptureSession::makeBuffer() const {
    const SimulatedAudioDevice& device = source->device->script();
    const double rate = sink->settings.sampleRate;
    const uint32_t channels = std::max(1u, sink->settings.numberOfChannels);
    std::vector<float> values;
    values.reserve(static_cast<size_t>(device.framesPerBuffer) * channels);
    for (int64_t frame = nextFrame; frame < nextFrame + device.framesPerBuffer; ++frame) {
        if (!device.signal && !device.isLoopback) {
            values.insert(values.end(), channels, toneSecond[static_cast<size_t>(frame) % toneSecond.size()]);
            continue;
        }
        const CMTime at = hostTimeFromNanoseconds(dueNanoseconds(frame));
        // What is asked for beyond the device's own channels repeats its last one.
        const uint32_t last = std::max(1u, device.inputChannels()) - 1;
        for (uint32_t channel = 0; channel < channels; ++channel)
            values.push_back(device.sound(std::min(channel, last), deviceFrame(frame), at));
    }
    const CMSampleTimingInfo timing{
        .duration = CMTimeMake(1, static_cast<int32_t>(rate)),
        .presentationTimeStamp = hostTimeFromNanoseconds(dueNanoseconds(nextFrame)),
        .decodeTimeStamp = kCMTimeInvalid,
    };
    return CMSampleBuffer::makeAudio(makeData(values, device.piecesPerBuffer),
                                     CMAudioFormatDescriptionCreate(floatPCMDescription(rate, channels)),
                                     device.framesPerBuffer, timing);
}

} // namespace vintra

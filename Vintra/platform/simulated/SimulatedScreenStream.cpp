#include "Vintra/platform/simulated/SimulatedScreenStream.h"

#include "Vintra/platform/HostClock.h"

#include <algorithm>
#include <utility>

namespace vintra {

SimulatedScreenStream::SimulatedScreenStream(Services services, SCContentFilter filter,
                                             SCStreamConfiguration configuration,
                                             std::weak_ptr<SCStreamDelegate> delegate,
                                             SimulatedStreamScript script)
    : filter(std::move(filter))
    , configuration(configuration)
    , services(std::move(services))
    , delegate(std::move(delegate))
    , script(std::move(script)) {
    if (this->script.frames) return;
    const double interval = CMTimeGetSeconds(configuration.minimumFrameInterval);
    this->script.frames = steadyFrames(interval > 0 ? 1 / interval : 60);
}

void SimulatedScreenStream::addStreamOutput(std::weak_ptr<SCStreamOutput> streamOutput, SCStreamOutputType,
                                            std::shared_ptr<DispatchQueue> sampleHandlerQueue) {
    if (script.addOutputError) throw *script.addOutputError;
    if (state != State::made) services.violations->add("screen stream: output added after the start");
    output = std::move(streamOutput);
    queue = std::move(sampleHandlerQueue);
}

void SimulatedScreenStream::prepareCapture(Completion completion) {
    services.journal->note("screen stream: prepareCapture");
    if (state != State::made || std::exchange(isPrepared, true))
        services.violations->add("screen stream: prepared twice or after the start");
    services.time->afterSeconds(script.prepareSeconds,
                                [self = shared_from_this(), completion = std::move(completion)] {
                                    if (self->state == State::made)
                                        completion(self->script.prepareError);
                                    else
                                        completion(SystemError("simulated", 21, "The stream was stopped."));
                                });
}

void SimulatedScreenStream::startCapture(Completion completion) {
    services.journal->note("screen stream: startCapture");
    if (state != State::made) {
        services.violations->add("screen stream: started twice");
        const SystemError error("simulated", 20, "The stream has already been started.");
        services.time->after(0, [completion, error] { completion(error); });
        return;
    }
    state = State::starting;
    services.time->afterSeconds(
        script.startSeconds,
        [self = shared_from_this(), completion = std::move(completion)] { self->begin(completion); });
}

void SimulatedScreenStream::begin(const Completion& completion) {
    if (script.startError || state != State::starting) {
        state = State::stopped;
        completion(script.startError.value_or(SystemError("simulated", 21, "The stream was stopped.")));
        return;
    }
    state = State::running;
    startNanoseconds = services.time->nowNanoseconds();
    firstTime = hostTimeFromNanoseconds(startNanoseconds);
    scheduleFrame();
    completion(std::nullopt);
}

void SimulatedScreenStream::stopCapture(Completion completion) {
    services.journal->note("screen stream: stopCapture");
    std::optional<SystemError> error = script.stopError;
    if (state != State::running && !error) error = SystemError("simulated", 22, "The stream isn't running.");
    state = State::stopped;
    tellMissed(hostTimeFromNanoseconds(services.time->nowNanoseconds()));
    services.time->afterSeconds(script.stopSeconds,
                                [completion = std::move(completion), error] { completion(error); });
}

void SimulatedScreenStream::die(const SystemError& error) {
    if (state != State::running) return;
    state = State::stopped;
    services.time->after(0, [self = shared_from_this(), error] {
        if (const auto told = self->delegate.lock()) told->stream(*self, error);
    });
}

void SimulatedScreenStream::changePicture() {
    if (state != State::running) return;
    const double interval = std::max(0.0, CMTimeGetSeconds(configuration.minimumFrameInterval));
    const int64_t due =
        std::max(services.time->nowNanoseconds(), latestFrame + nanosecondsFromSeconds(interval) + 1);
    if (latestFrame > services.time->nowNanoseconds()) return; // one is already to come, and shows it
    latestFrame = due;
    SimulatedFrame frame;
    frame.seconds = static_cast<double>(due - startNanoseconds) * 1e-9;
    frame.shade = latestShade = static_cast<uint8_t>(latestShade + 60);
    services.time->at(due, [weak = weak_from_this(), frame] {
        const auto self = weak.lock();
        if (self && self->state == State::running) self->deliver(frame);
    });
}

void SimulatedScreenStream::scheduleFrame() {
    const auto frame = script.frames(nextIndex++);
    if (!frame) return;
    const int64_t due = startNanoseconds + nanosecondsFromSeconds(frame->seconds + frame->deliveryDelay);
    latestFrame = startNanoseconds + nanosecondsFromSeconds(frame->seconds);
    latestShade = frame->shade;
    services.time->at(due, [weak = weak_from_this(), frame = *frame] {
        const auto self = weak.lock();
        if (!self || self->state != State::running) return;
        self->deliver(frame);
        self->scheduleFrame();
    });
}

void SimulatedScreenStream::deliver(const SimulatedFrame& frame) {
    if (!queue) return;
    if (frame.isMissed || underway >= configuration.queueDepth) return leaveOut(frame);
    tellMissed(timeOf(frame));
    ++underway;
    ++deliveredFrames;
    queue->async([self = shared_from_this(), sample = makeSample(frame)] {
        --self->underway;
        if (const auto taker = self->output.lock()) taker->stream(*self, sample, SCStreamOutputType::screen);
    });
}

void SimulatedScreenStream::leaveOut(const SimulatedFrame& frame) {
    ++leftOutFrames;
    if (!missedSince && frame.hasTime) missedSince = timeOf(frame);
}

void SimulatedScreenStream::tellMissed(CMTime end) {
    if (!missedSince) return;
    queue->async([self = shared_from_this(), missed = SCMissedFrames{*missedSince, end}] {
        if (const auto taker = self->output.lock()) taker->stream(*self, missed);
    });
    missedSince.reset();
}

CMTime SimulatedScreenStream::timeOf(const SimulatedFrame& frame) const {
    return hostTimeFromNanoseconds(startNanoseconds + nanosecondsFromSeconds(frame.seconds));
}

CMSampleBuffer SimulatedScreenStream::makeSample(const SimulatedFrame& frame) const {
    CMSampleTimingInfo timing{configuration.minimumFrameInterval, kCMTimeInvalid, kCMTimeInvalid};
    if (frame.hasTime) {
        timing.presentationTimeStamp = timeOf(frame);
    }
    std::shared_ptr<CVPixelBuffer> image;
    if (frame.hasImage) {
        image = services.pictures->make(configuration.pixelFormat, static_cast<size_t>(configuration.width),
                                        static_cast<size_t>(configuration.height), frame.shade);
    }
    std::vector<CMSampleAttachments> attachments;
    if (frame.hasAttachments) attachments.emplace_back();
    if (frame.hasAttachments && frame.status)
        attachments.front()[SCStreamFrameInfoStatus] = static_cast<int64_t>(*frame.status);
    return CMSampleBuffer::makeVideo(std::move(image), timing, std::move(attachments));
}

} // namespace vintra

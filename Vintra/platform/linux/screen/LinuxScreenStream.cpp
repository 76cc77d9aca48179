#include "Vintra/platform/linux/screen/LinuxScreenStream.h"

#include <optional>
#include <system_error>
#include <utility>

namespace vintra {

LinuxScreenStream::LinuxScreenStream(MakeCapture makeCapture, std::weak_ptr<SCStreamDelegate> delegate)
    : makeCapture(std::move(makeCapture))
    , delegate(std::move(delegate)) {}

LinuxScreenStream::~LinuxScreenStream() {
    if (capture) capture->end();
}

void LinuxScreenStream::addStreamOutput(std::weak_ptr<SCStreamOutput> output, SCStreamOutputType type,
                                        std::shared_ptr<DispatchQueue> sampleHandlerQueue) {
    if (capture) throw SystemError("screen", 1, "A screen stream takes no output once it has started.");
    // The stream carries no sound: an output for sound gets nothing.
    if (type == SCStreamOutputType::screen) {
        outputs.push_back({std::move(output), std::move(sampleHandlerQueue)});
    }
}

void LinuxScreenStream::prepareCapture(std::function<void(std::optional<SystemError>)> completion) {
    launch(&ScreenCaptureThread::prepare, std::move(completion));
}

void LinuxScreenStream::startCapture(std::function<void(std::optional<SystemError>)> completion) {
    if (capture && capture->isPrepared())
        capture->start(std::move(completion));
    else
        launch(&ScreenCaptureThread::start, std::move(completion));
}

void LinuxScreenStream::launch(void (ScreenCaptureThread::*how)(ScreenCaptureThread::Completion),
                               ScreenCaptureThread::Completion completion) {
    if (capture && !capture->hasEnded()) {
        completion(SystemError("screen", 2, "The screen stream is already running."));
        return;
    }
    if (capture) capture->end();
    capture = makeCapture(makeOutlets());
    try {
        ((*capture).*how)(completion);
    } catch (const std::system_error& error) {
        capture.reset();
        completion(SystemError("posix", error.code().value(),
                               "The screen can't be recorded: the system has no thread to spare."));
    }
}

ScreenCaptureThread::Outlets LinuxScreenStream::makeOutlets() {
    const std::weak_ptr<LinuxScreenStream> weakStream = weak_from_this();
    ScreenCaptureThread::Outlets outlets;
    outlets.onFrame = [weakStream, to = outputs](const CMSampleBuffer& sample) {
        for (const Output& each : to) {
            each.queue->async([weakStream, output = each.output, sample] {
                const auto stream = weakStream.lock();
                const auto receiver = output.lock();
                if (stream && receiver) receiver->stream(*stream, sample, SCStreamOutputType::screen);
            });
        }
    };
    outlets.onMissed = [weakStream, to = outputs](const SCMissedFrames& missed) {
        for (const Output& each : to) {
            each.queue->async([weakStream, output = each.output, missed] {
                const auto stream = weakStream.lock();
                const auto receiver = output.lock();
                if (stream && receiver) receiver->stream(*stream, missed);
            });
        }
    };
    outlets.onFailure = [weakStream, weakDelegate = delegate](const SystemError& error) {
        const auto stream = weakStream.lock();
        const auto told = weakDelegate.lock();
        if (stream && told) told->stream(*stream, error);
    };
    return outlets;
}

void LinuxScreenStream::stopCapture(std::function<void(std::optional<SystemError>)> completion) {
    if (capture) {
        capture->stop(std::move(completion));
    } else {
        completion(std::nullopt);
    }
}

std::optional<std::string> LinuxScreenStream::endNote() const {
    const auto problem = capture ? capture->problemAtTheEnd() : std::nullopt;
    return problem ? std::optional(problem->localizedDescription()) : std::nullopt;
}

std::optional<std::string> LinuxScreenStream::interruption() const {
    const auto reason = capture ? capture->interruption() : std::nullopt;
    return reason ? std::optional(reason->localizedDescription()) : std::nullopt;
}

uint64_t LinuxScreenStream::wakeUps() const {
    return capture ? capture->counts().wakeUps : 0;
}

uint64_t LinuxScreenStream::framesSent() const {
    return capture ? capture->counts().frames : 0;
}

uint64_t LinuxScreenStream::framesLeftOut() const {
    return capture ? capture->counts().leftOut : 0;
}

} // namespace vintra

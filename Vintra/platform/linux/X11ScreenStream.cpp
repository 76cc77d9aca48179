#include "Vintra/platform/linux/X11ScreenStream.h"

#include "Vintra/platform/linux/X11Capture.h"

#include <system_error>

namespace vintra {

X11ScreenStream::X11ScreenStream(std::string aDisplayName, X11PictureSubject aSubject,
                                 SCStreamConfiguration aConfiguration,
                                 std::weak_ptr<SCStreamDelegate> aDelegate)
    : displayName(std::move(aDisplayName))
    , subject(std::move(aSubject))
    , configuration(aConfiguration)
    , delegate(std::move(aDelegate)) {}

X11ScreenStream::~X11ScreenStream() {
    if (capture) capture->end();
}

void X11ScreenStream::addStreamOutput(std::weak_ptr<SCStreamOutput> output, SCStreamOutputType type,
                                      std::shared_ptr<DispatchQueue> sampleHandlerQueue) {
    if (capture) throw SystemError("x11", 9, "A screen stream takes no output once it has started.");
    // It carries no sound, so who asks for that hears nothing.
    if (type == SCStreamOutputType::screen) {
        outputs.push_back({std::move(output), std::move(sampleHandlerQueue)});
    }
}

void X11ScreenStream::startCapture(std::function<void(std::optional<SystemError>)> completion) {
    if (capture && !capture->hasEnded()) {
        completion(SystemError("x11", 10, "The screen stream is already running."));
        return;
    }
    if (capture) capture->end();
    const std::weak_ptr<X11ScreenStream> weakStream = weak_from_this();
    X11Capture::Settings settings{displayName, subject, configuration, {}, {}};
    settings.onFrame = [weakStream, to = outputs](const CMSampleBuffer& sample) {
        for (const Output& each : to) {
            each.queue->async([weakStream, output = each.output, sample] {
                const auto stream = weakStream.lock();
                const auto receiver = output.lock();
                if (stream && receiver) receiver->stream(*stream, sample, SCStreamOutputType::screen);
            });
        }
    };
    settings.onFailure = [weakStream, weakDelegate = delegate](const SystemError& error) {
        const auto stream = weakStream.lock();
        const auto told = weakDelegate.lock();
        if (stream && told) told->stream(*stream, error);
    };
    capture = X11Capture::make(std::move(settings));
    try {
        capture->start(completion);
    } catch (const std::system_error& error) {
        capture.reset();
        completion(SystemError("posix", error.code().value(),
                               "The screen can't be recorded: the system has no thread to spare."));
    }
}

void X11ScreenStream::stopCapture(std::function<void(std::optional<SystemError>)> completion) {
    if (capture) {
        capture->stop(std::move(completion));
    } else {
        completion(std::nullopt);
    }
}

uint64_t X11ScreenStream::wakeUps() const {
    return capture ? capture->counts().wakeUps : 0;
}

uint64_t X11ScreenStream::framesSent() const {
    return capture ? capture->counts().frames : 0;
}

uint64_t X11ScreenStream::framesLeftOut() const {
    return capture ? capture->counts().leftOut : 0;
}

} // namespace vintra

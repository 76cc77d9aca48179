#include "Vintra/platform/linux/WaylandScreenStream.h"

#include "Vintra/platform/linux/WaylandCapture.h"

#include <system_error>

namespace vintra {

WaylandScreenStream::WaylandScreenStream(WaylandDesktop aDesktop, std::optional<SCDisplay> aDisplay,
                                         const SCStreamConfiguration& aConfiguration,
                                         std::weak_ptr<SCStreamDelegate> aDelegate)
    : desktop(std::move(aDesktop))
    , display(aDisplay)
    , configuration(aConfiguration)
    , delegate(std::move(aDelegate)) {}

WaylandScreenStream::~WaylandScreenStream() {
    if (capture) capture->end();
}

void WaylandScreenStream::addStreamOutput(std::weak_ptr<SCStreamOutput> output, SCStreamOutputType type,
                                          std::shared_ptr<DispatchQueue> sampleHandlerQueue) {
    if (capture) throw SystemError("wayland", 6, "A screen stream takes no output once it has started.");
    // It carries no sound, so who asks for that hears nothing.
    if (type == SCStreamOutputType::screen) {
        outputs.push_back({std::move(output), std::move(sampleHandlerQueue)});
    }
}

void WaylandScreenStream::startCapture(std::function<void(std::optional<SystemError>)> completion) {
    if (capture && !capture->hasEnded()) {
        completion(SystemError("wayland", 7, "The screen stream is already running."));
        return;
    }
    if (capture) capture->end();
    const std::weak_ptr<WaylandScreenStream> weakStream = weak_from_this();
    WaylandCapture::Settings settings{desktop, display, configuration, {}, {}};
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
    capture = WaylandCapture::make(std::move(settings));
    try {
        capture->start(completion);
    } catch (const std::system_error& error) {
        capture.reset();
        completion(SystemError("posix", error.code().value(),
                               "The screen can't be recorded: the system has no thread to spare."));
    }
}

void WaylandScreenStream::stopCapture(std::function<void(std::optional<SystemError>)> completion) {
    if (capture) {
        capture->stop(std::move(completion));
    } else {
        completion(std::nullopt);
    }
}

uint64_t WaylandScreenStream::wakeUps() const {
    return capture ? capture->counts().wakeUps : 0;
}

uint64_t WaylandScreenStream::framesSent() const {
    return capture ? capture->counts().frames : 0;
}

uint64_t WaylandScreenStream::framesLeftOut() const {
    return capture ? capture->counts().leftOut : 0;
}

} // namespace vintra

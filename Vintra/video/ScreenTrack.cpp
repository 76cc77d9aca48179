#include "Vintra/video/ScreenTrack.h"

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Log.h"

#include <string>
#include <utility>

namespace vintra {
namespace {

/// What the beat's log lines say of the writer.
std::string writerStatusText(const std::weak_ptr<AVAssetWriter>& weakWriter) {
    const auto writer = weakWriter.lock();
    if (!writer) return "no writer";
    std::string text = "writer status " + std::to_string(static_cast<int>(writer->status()));
    if (const auto error = writer->error()) text += " (" + error->localizedDescription() + ")";
    return text;
}

/// The status that a frame carries, if it is there and a whole number.
std::optional<int64_t> frameStatus(const CMSampleBuffer& sample) {
    const auto& attachments = sample.attachments();
    if (attachments.empty()) return std::nullopt;
    const auto entry = attachments.front().find(SCStreamFrameInfoStatus);
    if (entry == attachments.front().end()) return std::nullopt;
    const auto* const status = std::get_if<int64_t>(&entry->second);
    return status ? std::optional(*status) : std::nullopt;
}

} // namespace

std::shared_ptr<ScreenTrack> ScreenTrack::make(const Platform& platform) {
    return std::shared_ptr<ScreenTrack>(new ScreenTrack(platform));
}

ScreenTrack::ScreenTrack(const Platform& platform)
    : mainThread(platform.mainThread)
    , screenCapture(platform.screenCapture)
    , videoOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.videoOutput"))
    , screenBeat(std::make_shared<ScreenBeat>(platform.hostClock, platform.log))
    , videoDrops(std::make_shared<DropCounter>())
    , screenDropTimeline(std::make_shared<DropTimeline>())
    , lastScreenFrameTime(std::make_shared<LastFrameTime>()) {}

std::shared_ptr<SCStream> ScreenTrack::makeStream(const SCContentFilter& filter,
                                                  const SCStreamConfiguration& configuration) {
    auto stream = screenCapture->makeStream(filter, configuration, weak_from_this());
    stream->addStreamOutput(weak_from_this(), SCStreamOutputType::screen, videoOutputQueue);
    return stream;
}

void ScreenTrack::begin(CMTime commonStart) {
    screenDropTimeline->begin(commonStart);
    pictureSize.begin();
}

void ScreenTrack::beginBeat(CMTime commonStart, const Movie& movie) {
    screenBeat->begin(
        {.at = commonStart,
         .rate = movie.frameRate,
         .into = movie.input,
         .on = videoOutputQueue,
         .wrote =
             [lastTime = lastScreenFrameTime](CMTime end) {
                 if (end.isNumeric()) lastTime->set(end);
             },
         .lost =
             [drops = videoDrops, timeline = screenDropTimeline](CMTime captured) {
                 drops->add(1);
                 timeline->record(captured);
             },
         .writerStatus = [writer = std::weak_ptr(movie.writer)] { return writerStatusText(writer); }});
}

void ScreenTrack::open(std::shared_ptr<AVAssetWriterInput> input) {
    videoSink.fill(std::move(input));
}

void ScreenTrack::close() {
    videoSink.empty();
}

Task<std::optional<SystemError>> ScreenTrack::start(std::shared_ptr<SCStream> stream) {
    return awaitStart(std::move(stream), &SCStream::startCapture);
}

Task<std::optional<SystemError>> ScreenTrack::prepare(std::shared_ptr<SCStream> stream) {
    return awaitStart(std::move(stream), &SCStream::prepareCapture);
}

/// A cancelling may come when the step has succeeded and this hasn't heard of it yet: the stream has been stopped all the
/// same.
Task<std::optional<SystemError>> ScreenTrack::awaitStart(std::shared_ptr<SCStream> stream, Step step) {
    const auto begin = [stream, step](auto done) { ((*stream).*step)(done); };
    startingStream = stream;
    isStartCancelled = false;
    auto error = co_await awaitCompletion<std::optional<SystemError>>(*mainThread, begin);
    startingStream.reset();
    if (!error && isStartCancelled) error = startCancelled();
    co_return error;
}

SystemError ScreenTrack::startCancelled() {
    return SystemError("screen", 4, "The recording was ended before it had begun.");
}

void ScreenTrack::cancelStart() {
    const auto stream = startingStream.lock();
    if (!stream) return;
    isStartCancelled = true;
    stream->stopCapture([](const auto&) {});
}

Task<std::optional<std::string>> ScreenTrack::stop(std::shared_ptr<SCStream> stream) {
    const auto begin = [stream](auto done) { stream->stopCapture(done); };
    co_await awaitCompletion<std::optional<SystemError>>(*mainThread, begin);
    co_return stream->endNote();
}

Task<ScreenBeat::Totals> ScreenTrack::finish(CMTime stopTime) {
    const auto begin = [queue = videoOutputQueue, beat = screenBeat, stopTime](auto done) {
        queue->async([beat, stopTime, done] { done(beat->finish(stopTime)); });
    };
    co_return co_await awaitCompletion<ScreenBeat::Totals>(*mainThread, begin);
}

void ScreenTrack::cancel() {
    screenBeat->cancel();
}

void ScreenTrack::resetCounters() {
    videoDrops->reset();
}

std::vector<double> ScreenTrack::endDropTimes() {
    return screenDropTimeline->take();
}

std::optional<CMTime> ScreenTrack::endLastFrameTime() {
    const auto time = lastScreenFrameTime->read();
    lastScreenFrameTime->clear();
    return time;
}

void ScreenTrack::stream(SCStream&, const CMSampleBuffer& didOutputSampleBuffer, SCStreamOutputType of) {
    if (!didOutputSampleBuffer.isValid() || of != SCStreamOutputType::screen) return;
    // Idle, blank, suspended, started and stopped carry no new picture: a still screen is a silence here, and
    // the beat fills it.
    if (frameStatus(didOutputSampleBuffer) != static_cast<int64_t>(SCFrameStatus::complete)) return;
    if (!videoSink.get()) return;
    if (const auto image = didOutputSampleBuffer.imageBuffer()) pictureSize.record(*image);
    screenBeat->frame(didOutputSampleBuffer);
}

void ScreenTrack::stream(SCStream&, const SCMissedFrames& didMissFrames) {
    // Also when the sink is empty: what is missed up to the stop is told after it.
    screenBeat->missed(didMissFrames.first, didMissFrames.end);
}

void ScreenTrack::stream(SCStream&, const SystemError& didStopWithError) {
    mainThread->post([tell = streamStopped, error = didStopWithError] { tell(error); });
}

} // namespace vintra

#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/Sink.h"
#include "Vintra/platform/Task.h"
#include "Vintra/video/DropCounter.h"
#include "Vintra/video/DropTimeline.h"
#include "Vintra/video/LastFrameTime.h"
#include "Vintra/video/PictureSizeWatch.h"
#include "Vintra/video/ScreenBeat.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace vintra {

/// The screen's end of a take: which frames of the stream are let through to the beat, what is lost, and what
/// is told when the stream dies. The stream itself belongs to the take.
///
/// One, owned by the controller for its whole life and held by the stream's callbacks while they run; it
/// knows nothing of either. `stream(...)` runs on the screen's queue and on any thread; everything else on
/// the main thread.
class ScreenTrack final : public SCStreamOutput,
                          public SCStreamDelegate,
                          public std::enable_shared_from_this<ScreenTrack> {
public:
    /// What a beat begins with, besides the common start.
    struct Movie {
        std::shared_ptr<AVAssetWriter> writer;
        std::shared_ptr<AVAssetWriterInput> input;
        int32_t frameRate = 30; ///< frames a second
    };

    static std::shared_ptr<ScreenTrack> make(const Platform& platform);

    /// The function is called on the main thread when a stream has ended by itself; it must bear being called
    /// late. To be set before the first stream is made.
    void onStreamStopped(std::function<void(const SystemError&)> tell) { streamStopped = std::move(tell); }

    /// A stream whose frames come here. Throws `SystemError`.
    std::shared_ptr<SCStream> makeStream(const SCContentFilter& filter,
                                         const SCStreamConfiguration& configuration);

    /// Arms the record of losses for a take.
    void begin(CMTime commonStart);
    /// Arms the beat, after the session of the movie's writer has begun.
    void beginBeat(CMTime commonStart, const Movie& movie);
    /// Lets the frames through.
    void open(std::shared_ptr<AVAssetWriterInput> input);
    /// Ends once the capture can start without a wait, with the error if it can't.
    Task<std::optional<SystemError>> prepare(std::shared_ptr<SCStream> stream);
    /// Ends once the capture runs, with the error if there was one.
    Task<std::optional<SystemError>> start(std::shared_ptr<SCStream> stream);
    /// Ends a start that waits, as for the user's leave. Any other goes on.
    void cancelStart();
    /// Why a start that was cancelled has no take.
    static SystemError startCancelled();

    /// Ends once the capture has, with a sentence if the end of what was captured is missing.
    Task<std::optional<std::string>> stop(std::shared_ptr<SCStream> stream);
    void close();
    /// Of the frames, to be drained after `close`.
    const std::shared_ptr<DispatchQueue>& queue() const { return videoOutputQueue; }
    /// Pads the track up to the stop.
    Task<ScreenBeat::Totals> finish(CMTime stopTime);
    /// What the slots of the movie hold, once it was finished.
    FrameAccount frameAccount() const { return screenBeat->account(); }
    /// Drops what the beat holds: the take never started.
    void cancel();

    /// Frames of the running take that were lost so far.
    int64_t lostFrames() const { return videoDrops->read(); }
    void resetCounters();
    /// When frames were lost, in seconds since the take's start; ends the record.
    std::vector<double> endDropTimes();
    /// The end of the sample written last; ends the record. Nothing if there was none.
    std::optional<CMTime> endLastFrameTime();
    /// Whether what is captured has changed its size in the take; ends the record.
    std::optional<PictureSizeWatch::Change> endPictureSize() { return pictureSize.take(); }

    void stream(SCStream& stream, const CMSampleBuffer& didOutputSampleBuffer,
                SCStreamOutputType of) override;
    void stream(SCStream& stream, const SCMissedFrames& didMissFrames) override;
    void stream(SCStream& stream, const SystemError& didStopWithError) override;

private:
    /// A step of a start: `prepareCapture` or `startCapture`.
    using Step = void (SCStream::*)(std::function<void(std::optional<SystemError>)>);

    explicit ScreenTrack(const Platform& platform);
    Task<std::optional<SystemError>> awaitStart(std::shared_ptr<SCStream> stream, Step step);

    const std::shared_ptr<MainThread> mainThread;
    const std::shared_ptr<ScreenCapture> screenCapture;
    std::function<void(const SystemError&)> streamStopped = [](const SystemError&) {};
    const std::shared_ptr<DispatchQueue> videoOutputQueue;
    Sink<std::shared_ptr<AVAssetWriterInput>> videoSink;
    const std::shared_ptr<ScreenBeat> screenBeat;
    const std::shared_ptr<DropCounter> videoDrops;
    const std::shared_ptr<DropTimeline> screenDropTimeline;
    const std::shared_ptr<LastFrameTime> lastScreenFrameTime;
    PictureSizeWatch pictureSize;
    std::weak_ptr<SCStream> startingStream; ///< set while its start is awaited
    bool isStartCancelled = false;          ///< of that one
};

} // namespace vintra

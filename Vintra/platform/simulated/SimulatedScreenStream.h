#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/simulated/SimulatedFrame.h"
#include "Vintra/platform/simulated/SimulatedJournal.h"
#include "Vintra/platform/simulated/SimulatedPictures.h"
#include "Vintra/platform/simulated/SimulatedViolations.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace vintra {

/// How a simulated stream behaves. By default everything works, and the picture always changes.
struct SimulatedStreamScript {
    std::optional<SystemError> addOutputError;
    std::optional<SystemError> prepareError;
    std::optional<SystemError> startError;
    std::optional<SystemError> stopError; ///< it stops all the same
    std::optional<std::string> endNote;
    double prepareSeconds = 0; ///< as while the user is asked
    double startSeconds = 0.05;
    double stopSeconds = 0.02;
    SimulatedFrames frames = nullptr; ///< if not set, one a minimum frame interval
};

/// A screen stream of a simulated machine. One real thread.
class SimulatedScreenStream : public SCStream, public std::enable_shared_from_this<SimulatedScreenStream> {
public:
    struct Services {
        std::shared_ptr<VirtualTime> time;
        std::shared_ptr<SimulatedViolations> violations;
        std::shared_ptr<SimulatedJournal> journal;
        std::shared_ptr<SimulatedPictures> pictures = std::make_shared<SimulatedPictures>();
    };
    SimulatedScreenStream(Services services, SCContentFilter filter, SCStreamConfiguration configuration,
                          std::weak_ptr<SCStreamDelegate> delegate, SimulatedStreamScript script);

    void addStreamOutput(std::weak_ptr<SCStreamOutput> output, SCStreamOutputType type,
                         std::shared_ptr<DispatchQueue> sampleHandlerQueue) override;
    void prepareCapture(std::function<void(std::optional<SystemError>)> completion) override;
    void startCapture(std::function<void(std::optional<SystemError>)> completion) override;
    void stopCapture(std::function<void(std::optional<SystemError>)> completion) override;
    std::optional<std::string> endNote() const override { return script.endNote; }
    std::optional<std::string> interruption() const override { return interruptedBecause; }

    /// Shows something new: a frame now, or when the minimum frame interval is over. For streams whose
    /// scripted frames end.
    void changePicture();
    /// Ends the running stream by itself and tells its delegate.
    void die(const SystemError& error);
    bool isRunning() const { return state == State::running; }
    /// Where the stream's samples and its end go, so that a test can send its own; null once they have gone.
    std::shared_ptr<SCStreamOutput> sampleOutput() const { return output.lock(); }
    std::shared_ptr<SCStreamDelegate> streamDelegate() const { return delegate.lock(); }
    /// Invalid before the capture runs.
    CMTime captureStart() const { return firstTime; }

    const SCContentFilter filter;
    const SCStreamConfiguration configuration;
    std::optional<std::string> interruptedBecause; ///< what is captured has gone for a while; a test's to set
    bool isPrepared = false;
    int64_t deliveredFrames = 0;
    int64_t leftOutFrames = 0; ///< because the output was behind by the queue depth

private:
    enum class State { made, starting, running, stopped };
    using Completion = std::function<void(std::optional<SystemError>)>;

    void begin(const Completion& completion);
    void scheduleFrame();
    void deliver(const SimulatedFrame& frame);
    void leaveOut(const SimulatedFrame& frame);
    /// Tells what was left out, up to `end`.
    void tellMissed(CMTime end);
    CMTime timeOf(const SimulatedFrame& frame) const;
    CMSampleBuffer makeSample(const SimulatedFrame& frame) const;

    Services services;
    std::weak_ptr<SCStreamDelegate> delegate;
    SimulatedStreamScript script;
    std::weak_ptr<SCStreamOutput> output;
    std::shared_ptr<DispatchQueue> queue;
    State state = State::made;
    int64_t startNanoseconds = 0;
    CMTime firstTime;
    int64_t nextIndex = 0;
    int64_t latestFrame = 0; ///< when the last frame was due, in nanoseconds
    uint8_t latestShade = 0;
    std::optional<CMTime> missedSince;
    int underway = 0; ///< frames queued and not yet taken
};

} // namespace vintra

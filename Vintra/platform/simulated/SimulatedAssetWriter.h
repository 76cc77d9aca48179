#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/simulated/SimulatedAssetWriterInput.h"
#include "Vintra/platform/simulated/SimulatedFileManager.h"
#include "Vintra/platform/simulated/SimulatedHostClock.h"
#include "Vintra/platform/simulated/SimulatedJournal.h"
#include "Vintra/platform/simulated/SimulatedViolations.h"
#include "Vintra/platform/simulated/SimulatedWriterScript.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// Writes one file of the simulated disk: a WAV with its real bytes, or a stand-in for a movie. One encoder
/// takes the samples of all inputs in turn, at the script's speed. Calls that break the contract become
/// violations. One real thread.
class SimulatedAssetWriter : public AVAssetWriter, public std::enable_shared_from_this<SimulatedAssetWriter> {
public:
    struct Services {
        std::shared_ptr<VirtualTime> time;
        std::shared_ptr<MainThread> mainThread;
        std::shared_ptr<SimulatedHostClock> hostClock;
        std::shared_ptr<SimulatedFileManager> files;
        std::shared_ptr<SimulatedViolations> violations;
        std::shared_ptr<SimulatedJournal> journal;
    };

    SimulatedAssetWriter(Services services, URL url, AVFileType fileType, SimulatedWriterScript script);

    const URL& outputURL() const override { return url; }
    bool canAdd(const AVAssetWriterInput& input) const override;
    void add(std::shared_ptr<AVAssetWriterInput> input) override;
    void prepare(std::function<void()> completion) override;
    bool startWriting() override;
    void startSession(CMTime atSourceTime) override;
    void finishWriting(std::function<void()> completion) override;
    void abandonFinish() override;
    void cancelWriting() override;
    AVAssetWriterStatus status() const override { return currentStatus; }
    std::optional<SystemError> error() const override { return currentError; }

    AVFileType fileType() const { return type; }
    /// Where the file that was made lies by now; nothing if it is gone, or none was made.
    std::optional<URL> currentURL() const { return followed ? followed->currentURL() : std::nullopt; }
    const std::vector<std::shared_ptr<SimulatedAssetWriterInput>>& inputs() const { return tracks; }
    /// The n-th input of the media type; null if there are fewer.
    std::shared_ptr<SimulatedAssetWriterInput> input(AVMediaType mediaType, size_t index = 0) const;
    /// Invalid before the session has begun.
    CMTime sessionStart() const { return session; }
    /// Host time at which `startSession` was done; invalid before.
    CMTime sessionBegunAt() const { return sessionBegun; }
    /// Breaks the writer off now, as a disk or an encoder would.
    void fail(const std::string& localizedDescription);

    SimulatedWriterScript script; ///< may be changed at any time

private:
    friend class SimulatedAssetWriterInput;

    CMTime hostTime() const;
    bool isReady(const SimulatedAssetWriterInput& input) const;
    bool take(SimulatedAssetWriterInput& input, const CMSampleBuffer& sample);
    void extend(SimulatedAssetWriterInput& input, CMTime to) const;
    bool isUsable(const SimulatedAssetWriterInput& input, const CMSampleBuffer& sample) const;
    bool acceptsSettings(const AVAssetWriterInput& input) const;
    void encode(SimulatedAssetWriterInput& input, const CMSampleBuffer& sample);
    void writeToFile(const SimulatedAssetWriterInput& input, const CMSampleBuffer& sample);
    void end();
    void closeFile();
    void checkMainThread(const char* call) const;
    void violate(const std::string& what) const;
    void note(const char* call) const;
    void block(double seconds) const;

    Services services;
    URL url;
    AVFileType type;
    std::vector<std::shared_ptr<SimulatedAssetWriterInput>> tracks;
    AVAssetWriterStatus currentStatus = AVAssetWriterStatus::unknown;
    std::optional<SystemError> currentError;
    CMTime session;
    CMTime sessionBegun;
    bool isPrepared = false;
    bool isFinishing = false;
    std::function<void()> finishCompletion; ///< until it is called
    int64_t startNanoseconds = 0;
    int64_t encoderFreeAt = 0; ///< nanoseconds of virtual time
    int64_t takenSamples = 0;
    uint64_t dataBytes = 0;
    std::unique_ptr<FileHandle> file;
    std::unique_ptr<FollowedItem> followed;
};

} // namespace vintra

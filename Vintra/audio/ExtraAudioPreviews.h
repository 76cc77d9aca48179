#pragma once

#include "Vintra/audio/AudioPreview.h"
#include "Vintra/audio/AudioRoutingCache.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// One running capture session for each device of the further sound inputs, however many of their rows it
/// serves. Owned by `AudioPreviews`. Main thread.
class ExtraAudioPreviews {
public:
    ExtraAudioPreviews(const AudioPreview::Surroundings& surroundings, std::shared_ptr<DispatchQueue> queue);

    /// Brings the sessions in line with the rows. Does nothing in a take.
    Task<> configure();
    /// New sessions in the place of those that don't run, as far as their devices are there.
    Task<> restore();
    /// No further session comes. Those there are stay until `end`.
    void refuseMore() { hasEnded = true; }
    /// Ends the previews for good.
    Task<> end();
    /// Lets go of a session that has broken; the next configure makes another. False if it is none of these.
    bool forget(const std::shared_ptr<AVCaptureSession>& session);

    bool contains(const std::shared_ptr<AVCaptureSession>& session) const;
    /// Whether every session runs; true without any.
    bool areRunning() const;
    /// Where the device's samples come out; null if there is no preview of it.
    std::shared_ptr<AVCaptureAudioDataOutput> outputOf(const std::string& deviceID) const;
    /// Null if there is no preview of the device.
    /// Nothing if the session is none of these.
    std::optional<std::string> deviceOf(const std::shared_ptr<AVCaptureSession>& session) const;
    std::shared_ptr<AVCaptureSession> sessionOf(const std::string& deviceID) const;
    std::vector<std::shared_ptr<AVCaptureSession>> sessions() const;
    /// Each device's output with the rows that tap it.
    std::vector<AudioRoutingCache::ExtraRouting> routing() const;

private:
    struct ExtraPreview {
        std::string deviceID;
        AudioCaptureChain chain;
        double startedAt = 0; ///< host seconds
    };

    bool hasPreview(const std::string& deviceID) const;
    Task<> stopUnwanted();
    Task<> startMissing();

    const AudioPreview::Surroundings surroundings;
    const std::shared_ptr<DispatchQueue> queue;
    std::vector<ExtraPreview> extraPreviews;
    bool hasEnded = false;
    MainThreadTasks tasks;
};

} // namespace vintra

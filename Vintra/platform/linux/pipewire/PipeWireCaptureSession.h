#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/Mutex.h"

#include <memory>
#include <string>
#include <utility>

namespace vintra {

class Log;
class PipeWireCaptureNotifier;
class PipeWireCaptureStream;
class PipeWireConnection;
class PipeWireTimer;
struct PipeWireNode;

/// Names the device that a session is to open. Immutable.
class PipeWireDeviceInput : public AVCaptureDeviceInput {
public:
    explicit PipeWireDeviceInput(std::string name)
        : deviceName(std::move(name)) {}
    const std::string deviceName;
};

/// What a session is to deliver and to whom. Set up on the main thread before the session runs, then read by
/// PipeWire's thread.
class PipeWireAudioDataOutput : public AVCaptureAudioDataOutput {
public:
    explicit PipeWireAudioDataOutput(const AVAudioSettings& settings);

    void setSampleBufferDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate,
                                 std::shared_ptr<DispatchQueue> queue) override;
    /// The layout that the settings ask for.
    const AudioStreamBasicDescription& format() const { return format_; }
    /// False for settings that no sound input delivers.
    bool isUsable() const;

    /// Who gets the samples, and on which queue.
    struct Receiver {
        std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate;
        std::shared_ptr<DispatchQueue> queue;
    };
    Receiver receiver() const;

private:
    const AVAudioSettings settings;
    const AudioStreamBasicDescription format_;
    mutable Mutex mutex;
    Receiver receiver_ GUARDED_BY(mutex);
};

/// A stream from one device to one output. Starting and stopping are for one thread at a time, `isRunning`
/// for any; the last reference must not go on PipeWire's own thread.
///
/// It never runs on another device than its own: when that one goes, the session is no longer running and
/// stays so until it is started again.
/// A device that takes its time, as one over Bluetooth does, is waited for: 3 s by the start, then half a minute more
/// while the session isn't running yet.
class PipeWireCaptureSession : public AVCaptureSession,
                               public std::enable_shared_from_this<PipeWireCaptureSession> {
public:
    PipeWireCaptureSession(std::shared_ptr<PipeWireConnection> connection,
                           std::shared_ptr<PipeWireCaptureNotifier> notifier, std::shared_ptr<Log> log);
    ~PipeWireCaptureSession() override;

    bool canAddInput(const AVCaptureDeviceInput& input) const override;
    void addInput(std::shared_ptr<AVCaptureDeviceInput> input) override;
    bool canAddOutput(const AVCaptureOutput& output) const override;
    void addOutput(std::shared_ptr<AVCaptureOutput> output) override;
    /// Waits for 3 s at most. A session whose device hasn't begun by then isn't running, and begins when it does.
    void startRunning() override;
    void stopRunning() override;
    bool isRunning() const override;
    bool mayStillBegin() const override;

private:
    std::unique_ptr<PipeWireCaptureStream> makeStream(const PipeWireNode& node);
    void waitOn(const std::string& device);

    const std::shared_ptr<PipeWireConnection> connection;
    const std::shared_ptr<PipeWireCaptureNotifier> notifier;
    const std::shared_ptr<Log> log;
    std::shared_ptr<PipeWireDeviceInput> input;
    std::shared_ptr<PipeWireAudioDataOutput> output;
    std::unique_ptr<PipeWireCaptureStream> stream; ///< under the connection's loop lock
    std::unique_ptr<PipeWireTimer> patience;       ///< likewise
};

} // namespace vintra

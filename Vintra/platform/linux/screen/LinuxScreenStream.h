#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/screen/ScreenCaptureThread.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vintra {

/// A stream of the screen. Each start makes a new capture thread. Main thread.
class LinuxScreenStream : public SCStream, public std::enable_shared_from_this<LinuxScreenStream> {
public:
    using MakeCapture = std::function<std::shared_ptr<ScreenCaptureThread>(ScreenCaptureThread::Outlets)>;

    LinuxScreenStream(MakeCapture makeCapture, std::weak_ptr<SCStreamDelegate> delegate);
    ~LinuxScreenStream() override;

    void addStreamOutput(std::weak_ptr<SCStreamOutput> output, SCStreamOutputType type,
                         std::shared_ptr<DispatchQueue> sampleHandlerQueue) override;
    void prepareCapture(std::function<void(std::optional<SystemError>)> completion) override;
    void startCapture(std::function<void(std::optional<SystemError>)> completion) override;
    void stopCapture(std::function<void(std::optional<SystemError>)> completion) override;

    std::optional<std::string> endNote() const override;
    std::optional<std::string> interruption() const override;

    /// Counts of the newest capture: its thread's wake-ups, the frames it sent, and the frames it left out.
    uint64_t wakeUps() const;
    uint64_t framesSent() const;
    uint64_t framesLeftOut() const;

private:
    struct Output {
        std::weak_ptr<SCStreamOutput> output;
        std::shared_ptr<DispatchQueue> queue;
    };

    ScreenCaptureThread::Outlets makeOutlets();
    void launch(void (ScreenCaptureThread::*how)(ScreenCaptureThread::Completion),
                ScreenCaptureThread::Completion completion);

    const MakeCapture makeCapture;
    const std::weak_ptr<SCStreamDelegate> delegate;
    std::vector<Output> outputs;
    std::shared_ptr<ScreenCaptureThread> capture;
};

} // namespace vintra

#pragma once

#include "tests/platform/CaptureSessionConformance.h"

#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"

#include <memory>
#include <string>

namespace vintra {

/// A session on one device and all that it has delivered. One thread.
class CapturedSound {
public:
    CapturedSound(std::shared_ptr<PipeWireConnection> connection, const std::string& device,
                  uint32_t channels,
                  AVAudioSettings settings = {.linearPCMBitDepth = 32, .linearPCMIsFloat = true})
        : devices(std::move(connection), std::make_shared<LinuxEventLoop>(),
                  std::make_shared<LinuxLog>(LogLevel::error)) {
        const auto found = devices.deviceWithUniqueID(device);
        if (!found) return;
        settings.numberOfChannels = channels;
        output = devices.makeAudioDataOutput(settings);
        output->setSampleBufferDelegate(collector, queue);
        session_ = devices.makeSession();
        session_->addInput(devices.makeDeviceInput(found));
        session_->addOutput(output);
    }
    ~CapturedSound() { stop(); }

    bool start() {
        if (!session_) return false;
        session_->startRunning();
        return session_->isRunning();
    }
    void stop() {
        if (session_) session_->stopRunning();
        queue->sync([] {});
    }
    std::vector<SoundSampleCollector::Arrival> arrivals() const { return collector->arrivals(); }
    AVCaptureSession& session() { return *session_; }

    /// Looks every few milliseconds; false after ten seconds.
    bool waitUntil(const std::function<bool()>& condition) {
        for (int i = 0; i < 2500; ++i) {
            if (condition()) return true;
            clock.sleep(4000);
        }
        return condition();
    }

private:
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    std::shared_ptr<ObservedQueue> queue = std::make_shared<ObservedQueue>(queues.makeSerialQueue("samples"));
    std::shared_ptr<SoundSampleCollector> collector =
        std::make_shared<SoundSampleCollector>(queue, [this] { return clock.now(); });
    PipeWireCaptureDevices devices;
    std::shared_ptr<AVCaptureAudioDataOutput> output;
    std::shared_ptr<AVCaptureSession> session_;
};

} // namespace vintra

#include "Vintra/platform/linux/pipewire/PipeWireCaptureNotifier.h"

#include "Vintra/platform/Log.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevice.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include <cerrno>
#include <utility>

namespace vintra {
namespace {

std::string sentenceFor(CaptureEnd why, const std::string& device) {
    switch (why) {
    case CaptureEnd::stopped:
        return "PipeWire has stopped delivering sound from " + device + ".";
    case CaptureEnd::elsewhere:
        return "PipeWire has connected another device in the place of " + device +
               ". Undo that in the program that did it, then choose " + device + " again.";
    case CaptureEnd::neverBegan:
        return device +
               " hasn't begun to send sound within half a minute. Check that it is on and connected, "
               "then choose it again.";
    }
    return {};
}

} // namespace

PipeWireCaptureNotifier::PipeWireCaptureNotifier(std::shared_ptr<PipeWireConnection> connection,
                                                 std::shared_ptr<MainThread> mainThread)
    : connection(std::move(connection))
    , mainThread(std::move(mainThread)) {}

/// It listens once it can be held weakly.
std::shared_ptr<PipeWireCaptureNotifier>
PipeWireCaptureNotifier::make(std::shared_ptr<PipeWireConnection> connection,
                              std::shared_ptr<MainThread> mainThread) {
    const std::shared_ptr<PipeWireCaptureNotifier> made(
        new PipeWireCaptureNotifier(std::move(connection), std::move(mainThread)));
    PipeWireLock lock(made->connection->loop());
    made->known = made->inputs();
    made->observation = made->connection->observe([self = made.get()](const PipeWireChange& change) {
        if (change.devices) self->devicesHaveChanged();
    });
    return made;
}

PipeWireCaptureNotifier::~PipeWireCaptureNotifier() {
    // With the lock no call is under way on PipeWire's thread.
    PipeWireLock lock(connection->loop());
    observation.reset();
}

Observation PipeWireCaptureNotifier::observe(CaptureDeviceNotifications notifications) {
    auto kept = std::make_shared<CaptureDeviceNotifications>(std::move(notifications));
    observers.push_back(kept);
    return kept;
}

std::map<std::string, PipeWireNode> PipeWireCaptureNotifier::inputs() const {
    std::map<std::string, PipeWireNode> result;
    for (const uint32_t number : connection->devices().numbers()) {
        if (auto node = connection->devices().device(number); node && node->isInput())
            result[node->name] = *node;
    }
    return result;
}

void PipeWireCaptureNotifier::devicesHaveChanged() {
    const auto before = std::exchange(known, inputs());
    for (const auto& [name, node] : before) {
        if (!known.contains(name)) post(node, &PipeWireCaptureNotifier::tellDisconnected);
    }
    for (const auto& [name, node] : known) {
        if (!before.contains(name)) post(node, &PipeWireCaptureNotifier::tellConnected);
    }
}

void PipeWireCaptureNotifier::post(const PipeWireNode& node, Call call) {
    // Only the main thread ever locks the weak reference, so that nothing can go on PipeWire's.
    mainThread->post([weak = weak_from_this(), node, call] {
        if (const auto self = weak.lock()) ((*self).*call)(node);
    });
}

void PipeWireCaptureNotifier::sessionHasEnded(std::weak_ptr<AVCaptureSession> session,
                                              const std::string& deviceName, CaptureEnd why) {
    // The server tells of a device's end before it tells what became of the streams on it.
    const auto node = connection->devices().deviceNamed(deviceName);
    if (!node) return;
    mainThread->post([weak = weak_from_this(), session = std::move(session),
                      sentence = sentenceFor(why, node->description)] {
        const auto self = weak.lock();
        const auto ended = session.lock();
        if (self && ended) self->tellRuntimeError(ended, sentence);
    });
}

void PipeWireCaptureNotifier::soundIsWithoutRealTime(Log& log) {
    if (isWithoutRealTime.exchange(true, std::memory_order_relaxed)) return;
    log.write(
        "audio-capture", LogLevel::error,
        "The system refused real-time priority to the thread that takes sound in, so a busy machine may "
        "lose some. Allow it for your user, through RealtimeKit or the limit “rtprio”.");
}

void PipeWireCaptureNotifier::tellConnected(const PipeWireNode& node) {
    const auto device = std::make_shared<PipeWireCaptureDevice>(connection, node);
    for (const auto& observer : present())
        observer->deviceWasConnected(device);
}

void PipeWireCaptureNotifier::tellDisconnected(const PipeWireNode& node) {
    const auto device = std::make_shared<PipeWireCaptureDevice>(connection, node);
    for (const auto& observer : present())
        observer->deviceWasDisconnected(device);
}

void PipeWireCaptureNotifier::tellRuntimeError(const std::shared_ptr<AVCaptureSession>& session,
                                               const std::string& sentence) {
    const SystemError error("pipewire", EIO, sentence);
    for (const auto& observer : present())
        observer->sessionRuntimeError(session, error);
}

std::vector<std::shared_ptr<CaptureDeviceNotifications>> PipeWireCaptureNotifier::present() {
    std::vector<std::shared_ptr<CaptureDeviceNotifications>> result;
    std::erase_if(observers, [](const auto& observer) { return observer.expired(); });
    for (const auto& observer : observers) {
        if (auto kept = observer.lock()) result.push_back(std::move(kept));
    }
    return result;
}

} // namespace vintra

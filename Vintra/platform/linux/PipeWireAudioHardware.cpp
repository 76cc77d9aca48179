#include "Vintra/platform/linux/PipeWireAudioHardware.h"

#include "Vintra/platform/linux/PipeWireConnection.h"

#include <utility>

namespace vintra {
namespace {

/// Posted calls find out whether the listening has ended: the block is kept here alone, and goes on the main
/// thread.
class Listener : public AudioPropertyListener {
public:
    std::shared_ptr<std::function<void()>> block;
    std::shared_ptr<void> observation;
};

bool concerns(const PipeWireChange& change, AudioObjectID object, AudioProperty property) {
    switch (property) {
    case AudioProperty::devices:
        return change.devices;
    case AudioProperty::defaultSystemOutputDevice:
        return false;
    case AudioProperty::nominalSampleRate:
        return change.rateOfDevice == object;
    }
    return false;
}

} // namespace

PipeWireAudioHardware::PipeWireAudioHardware(std::shared_ptr<PipeWireConnection> itsConnection,
                                             std::shared_ptr<MainThread> itsMainThread)
    : connection(std::move(itsConnection))
    , mainThread(std::move(itsMainThread)) {}

std::vector<AudioObjectID> PipeWireAudioHardware::devices() const {
    return connection->deviceNumbers();
}

std::optional<std::vector<uint32_t>> PipeWireAudioHardware::inputStreamChannels(AudioObjectID device) const {
    const auto node = connection->device(device);
    if (!node) return std::nullopt;
    std::vector<uint32_t> channels;
    if (node->isInput() && node->format.channels > 0) channels.push_back(node->format.channels);
    return channels;
}

std::optional<std::vector<uint32_t>> PipeWireAudioHardware::outputStreamChannels(AudioObjectID device) const {
    const auto node = connection->device(device);
    if (!node) return std::nullopt;
    std::vector<uint32_t> channels;
    if (node->isOutput() && node->format.channels > 0) channels.push_back(node->format.channels);
    return channels;
}

std::optional<AudioTransportType> PipeWireAudioHardware::transportType(AudioObjectID) const {
    return std::nullopt;
}

std::optional<AudioObjectID> PipeWireAudioHardware::defaultOutputDevice() const {
    return std::nullopt;
}

std::optional<AudioObjectID> PipeWireAudioHardware::defaultSystemOutputDevice() const {
    return std::nullopt;
}

bool PipeWireAudioHardware::setDefaultOutputDevice(AudioObjectID) {
    return false;
}

bool PipeWireAudioHardware::setDefaultSystemOutputDevice(AudioObjectID) {
    return false;
}

std::optional<std::string> PipeWireAudioHardware::deviceUID(AudioObjectID device) const {
    const auto node = connection->device(device);
    return node ? std::optional(node->name) : std::nullopt;
}

std::optional<std::string> PipeWireAudioHardware::deviceName(AudioObjectID device) const {
    const auto node = connection->device(device);
    return node ? std::optional(node->description) : std::nullopt;
}

std::optional<double> PipeWireAudioHardware::nominalSampleRate(AudioObjectID device) const {
    const auto node = connection->device(device);
    return node ? std::optional(static_cast<double>(node->format.sampleRate)) : std::nullopt;
}

std::unique_ptr<AudioPropertyListener>
PipeWireAudioHardware::addPropertyListener(AudioObjectID object, AudioProperty property,
                                           std::function<void()> block) {
    const bool isKnown = property == AudioProperty::devices ? object == kAudioObjectSystemObject
                                                            : connection->device(object).has_value();
    if (!isKnown) return nullptr;
    auto listener = std::make_unique<Listener>();
    listener->block = std::make_shared<std::function<void()>>(std::move(block));
    // Only the main thread ever locks the weak reference, so that the block can't go on another one.
    const std::weak_ptr<std::function<void()>> weak = listener->block;
    listener->observation =
        connection->observe([weak, object, property, main = mainThread](const PipeWireChange& change) {
            if (!concerns(change, object, property)) return;
            main->post([weak] {
                if (const auto listening = weak.lock()) (*listening)();
            });
        });
    return listener;
}

} // namespace vintra

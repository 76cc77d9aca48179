#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireDefaultOutput.h"

#include <functional>
#include <optional>
#include <utility>

namespace vintra {
namespace {

/// Posted calls find out whether the listening has ended: the block is kept here alone, and goes on the main
/// thread.
class Listener : public AudioPropertyListener {
public:
    Listener(std::shared_ptr<PipeWireConnection> connection,
             std::shared_ptr<PipeWireDefaultOutput> defaultOutput, AudioObjectID object,
             AudioProperty property)
        : connection(std::move(connection))
        , defaultOutput(std::move(defaultOutput))
        , object(object)
        , property(property)
        , reported(watched()) {}
    ~Listener() override {
        // With the lock no call is under way on PipeWire's thread.
        PipeWireLock lock(connection->loop());
        observation.reset();
    }

    void begin(std::function<void()> onChange, const std::shared_ptr<MainThread>& mainThread) {
        block = std::make_shared<std::function<void()>>(std::move(onChange));
        // Only the main thread ever locks the weak reference, so that the block can't go on another one.
        const std::weak_ptr<std::function<void()>> weak = block;
        observation = connection->observe([this, weak, main = mainThread](const PipeWireChange& change) {
            if (!concerns(change)) return;
            main->post([weak] {
                if (const auto listening = weak.lock()) (*listening)();
            });
        });
    }

private:
    bool concerns(const PipeWireChange& change) {
        switch (property) {
        case AudioProperty::devices:
            return change.devices;
        case AudioProperty::service:
        case AudioProperty::defaultOutputDevice:
        case AudioProperty::defaultSystemOutputDevice: {
            const uint32_t before = std::exchange(reported, watched());
            return reported != before;
        }
        case AudioProperty::nominalSampleRate:
            return change.rateOfDevice == object;
        case AudioProperty::outputVolume:
            return change.volumeOfDevice == object;
        }
        return false;
    }
    /// The device that the property is, where it is one; for the service, whether it runs.
    uint32_t watched() const {
        if (property == AudioProperty::service) return connection->isServiceRunning() ? 1 : 0;
        if (property == AudioProperty::defaultOutputDevice) return defaultOutput->device();
        return property == AudioProperty::defaultSystemOutputDevice ? defaultOutput->realDevice() : 0;
    }

    const std::shared_ptr<PipeWireConnection> connection;
    const std::shared_ptr<PipeWireDefaultOutput> defaultOutput;
    const AudioObjectID object;
    const AudioProperty property;
    uint32_t reported; ///< what was last told of; belongs to PipeWire's thread
    std::shared_ptr<std::function<void()>> block;
    std::shared_ptr<void> observation;
};

} // namespace

PipeWireAudioHardware::PipeWireAudioHardware(std::shared_ptr<PipeWireConnection> connection,
                                             std::shared_ptr<MainThread> mainThread)
    : connection(std::move(connection))
    , mainThread(std::move(mainThread))
    , defaultOutput(std::make_shared<PipeWireDefaultOutput>(this->connection)) {}

PipeWireAudioHardware::~PipeWireAudioHardware() = default;

bool PipeWireAudioHardware::isServiceRunning() const {
    return connection->isServiceRunning();
}

std::vector<AudioObjectID> PipeWireAudioHardware::devices() const {
    return connection->devices().numbers();
}

std::optional<std::vector<uint32_t>> PipeWireAudioHardware::inputStreamChannels(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    if (!node) return std::nullopt;
    std::vector<uint32_t> channels;
    if (node->isInput() && node->format.channels > 0) channels.push_back(node->format.channels);
    return channels;
}

std::optional<std::vector<uint32_t>> PipeWireAudioHardware::outputStreamChannels(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    if (!node) return std::nullopt;
    std::vector<uint32_t> channels;
    if (node->isOutput() && node->format.channels > 0) channels.push_back(node->format.channels);
    return channels;
}

std::optional<AudioTransportType> PipeWireAudioHardware::transportType(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    if (!node) return std::nullopt;
    return node->isBuiltIn ? AudioTransportType::builtIn : AudioTransportType::other;
}

std::optional<std::vector<float>> PipeWireAudioHardware::outputVolume(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    if (!node || node->channelVolumes.empty()) return std::nullopt;
    if (node->isMuted) return std::vector<float>(node->channelVolumes.size(), 0);
    return node->channelVolumes;
}

std::optional<AudioObjectID> PipeWireAudioHardware::deviceBehind(AudioObjectID device) const {
    PipeWireLock lock(connection->loop());
    auto node = connection->devices().device(device);
    const size_t most = connection->devices().numbers().size(); // a chain of filters has an end
    for (size_t steps = 0; node && connection->filters().followsDefault(*node); ++steps) {
        const auto next = connection->filters().playsTo(*node);
        const auto number = next ? connection->devices().numberOfNode(*next) : std::nullopt;
        if (!number || steps == most) return std::nullopt;
        device = *number;
        node = connection->devices().device(device);
    }
    return node ? std::optional(device) : std::nullopt;
}

std::optional<AudioObjectID> PipeWireAudioHardware::defaultOutputDevice() const {
    if (connection->problem()) return std::nullopt;
    return defaultOutput->device();
}

std::optional<AudioObjectID> PipeWireAudioHardware::defaultSystemOutputDevice() const {
    if (connection->problem()) return std::nullopt;
    return defaultOutput->realDevice();
}

bool PipeWireAudioHardware::setDefaultOutputDevice(AudioObjectID device) {
    return defaultOutput->setDevice(device);
}

bool PipeWireAudioHardware::setDefaultSystemOutputDevice(AudioObjectID device) {
    return device != 0 && device == defaultOutput->realDevice();
}

bool PipeWireAudioHardware::isDefaultOutputContested() const {
    return defaultOutput->isContested();
}

std::optional<std::string> PipeWireAudioHardware::deviceUID(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    return node ? std::optional(node->name) : std::nullopt;
}

std::optional<std::string> PipeWireAudioHardware::deviceName(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    return node ? std::optional(node->description) : std::nullopt;
}

std::optional<double> PipeWireAudioHardware::nominalSampleRate(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    return node ? std::optional(static_cast<double>(node->format.sampleRate)) : std::nullopt;
}

std::unique_ptr<AudioPropertyListener>
PipeWireAudioHardware::addPropertyListener(AudioObjectID object, AudioProperty property,
                                           std::function<void()> block) {
    const bool isOfDevice =
        property == AudioProperty::nominalSampleRate || property == AudioProperty::outputVolume;
    const bool isKnown =
        isOfDevice ? connection->devices().device(object).has_value() : object == kAudioObjectSystemObject;
    if (!isKnown) return nullptr;
    auto listener = std::make_unique<Listener>(connection, defaultOutput, object, property);
    listener->begin(std::move(block), mainThread);
    return listener;
}

} // namespace vintra

#include "Vintra/platform/linux/PipeWireDefaultOutput.h"

#include "Vintra/platform/linux/PipeWireConnection.h"
#include "Vintra/platform/linux/PipeWireMetadata.h"

#include <utility>

namespace vintra {
namespace {

constexpr const char* effectiveKey = "default.audio.sink";
constexpr const char* configuredKey = "default.configured.audio.sink";
constexpr const char* heldKey = "vintra.default.audio.sink"; ///< what was in force before the virtual device
constexpr double secondsUntilRefused = 1.0;

bool isVirtual(const std::optional<std::string>& name) {
    return name == kVirtualAudioDeviceName;
}

} // namespace

PipeWireDefaultOutput::PipeWireDefaultOutput(std::shared_ptr<PipeWireConnection> itsConnection)
    : connection(std::move(itsConnection)) {
    observation = connection->observe([this](const PipeWireChange& change) { changed(change); });
}

PipeWireDefaultOutput::~PipeWireDefaultOutput() {
    // With the lock no call is under way on PipeWire's thread.
    PipeWireLock lock(connection->loop());
    observation.reset();
}

PipeWireMetadata* PipeWireDefaultOutput::table() const {
    connection->loop().assertHeld();
    return connection->metadata("default");
}

std::optional<std::string> PipeWireDefaultOutput::effectiveName() const {
    const PipeWireMetadata* const defaults = table();
    return defaults != nullptr ? defaults->nodeName(effectiveKey) : std::nullopt;
}

uint32_t PipeWireDefaultOutput::device() const {
    PipeWireLock lock(connection->loop());
    const auto name = effectiveName();
    return name ? connection->numberNamed(*name).value_or(0) : 0;
}

uint32_t PipeWireDefaultOutput::realDevice() const {
    PipeWireLock lock(connection->loop());
    auto name = effectiveName();
    if (isVirtual(name)) name = table()->nodeName(heldKey);
    if (name && !isVirtual(name)) {
        if (const auto number = connection->numberNamed(*name)) return *number;
    }
    std::optional<int32_t> highest;
    uint32_t best = 0;
    for (const uint32_t number : connection->deviceNumbers()) {
        const auto node = connection->device(number);
        if (!node || !node->isOutput() || node->isVirtualDevice()) continue;
        if (highest && node->sessionPriority <= *highest) continue;
        highest = node->sessionPriority;
        best = number;
    }
    return best;
}

bool PipeWireDefaultOutput::setDevice(uint32_t number) {
    PipeWireLock lock(connection->loop());
    PipeWireMetadata* const defaults = table();
    const auto node = connection->device(number);
    if (defaults == nullptr || !node || !node->isOutput()) return false;
    // While the virtual device is held the session manager may have another idea for a moment, and what was
    // said against it may still be on its way.
    const bool endsHold = isHolding && !node->isVirtualDevice();
    if (effectiveName() == node->name && !endsHold) return true;
    if (node->isVirtualDevice()) {
        if (!holdVirtualDevice(*defaults)) return false;
    } else {
        release(*defaults, node->name);
    }
    // Of a release the end of the way back is said last: once that is read back, all else has been taken in.
    const auto isInForce = [&] {
        const PipeWireMetadata* const now = table();
        const bool isReleased = !endsHold || (now != nullptr && !now->nodeName(heldKey));
        return effectiveName() == node->name && isReleased;
    };
    const int64_t deadline = PipeWireLoop::deadlineIn(secondsUntilRefused);
    while (!isInForce()) {
        if (connection->loop().waitUntil(deadline)) continue;
        if (isHolding) giveUpHold();
        return false;
    }
    return true;
}

/// What was asked for must not come into force after it has been called refused.
void PipeWireDefaultOutput::giveUpHold() {
    isHolding = false;
    PipeWireMetadata* const defaults = table();
    if (defaults == nullptr) return;
    const auto before = defaults->nodeName(heldKey);
    if (before) defaults->setNodeName(effectiveKey, *before);
    defaults->remove(heldKey);
}

bool PipeWireDefaultOutput::holdVirtualDevice(PipeWireMetadata& defaults) {
    const auto before = defaults.nodeName(effectiveKey);
    // First the way back: a crash may come after any of these lines.
    if (before) {
        defaults.setNodeName(heldKey, *before);
    } else {
        defaults.remove(heldKey);
    }
    defaults.setNodeName(effectiveKey, kVirtualAudioDeviceName);
    isHolding = true;
    return true;
}

void PipeWireDefaultOutput::release(PipeWireMetadata& defaults, const std::string& name) {
    const bool isHandedBack = (isHolding || isVirtual(effectiveName())) &&
                              defaults.nodeName(heldKey) == name &&
                              !isVirtual(defaults.nodeName(configuredKey));
    isHolding = false;
    if (!isHandedBack) defaults.setNodeName(configuredKey, name);
    // Said as well where it has been configured: a session manager of the same opinion as before says
    // nothing.
    defaults.setNodeName(effectiveKey, name);
    defaults.remove(heldKey);
}

void PipeWireDefaultOutput::changed(const PipeWireChange& change) {
    if (!isHolding) return;
    connection->loop().assertHeld();
    PipeWireMetadata* const defaults = table();
    if (defaults == nullptr) return;
    if (change.defaultsKey == configuredKey) {
        const auto chosen = defaults->nodeName(configuredKey);
        if (!chosen || isVirtual(chosen)) return;
        isHolding = false;
        defaults->setNodeName(effectiveKey, *chosen);
        defaults->remove(heldKey);
    } else if (change.defaultsKey == effectiveKey && !isVirtual(defaults->nodeName(effectiveKey))) {
        const auto before = defaults->nodeName(heldKey);
        if (!before) return;
        if (connection->deviceNamed(*before)) {
            defaults->setNodeName(effectiveKey, kVirtualAudioDeviceName);
        } else {
            isHolding = false;
            defaults->remove(heldKey);
        }
    }
}

} // namespace vintra

#include "Vintra/platform/linux/pipewire/PipeWireDeviceIO.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireDevicePin.h"
#include "Vintra/platform/linux/pipewire/PipeWireIOProc.h"
#include "Vintra/platform/linux/pipewire/PipeWireIOStream.h"
#include "Vintra/platform/linux/pipewire/PipeWireMetadata.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsUntilPinRefused = 1.0;
constexpr double kSecondsBetweenLooks = 0.005; ///< a clock's rate changes without a message

} // namespace

PipeWireDeviceIO::PipeWireDeviceIO(std::shared_ptr<PipeWireConnection> connection, std::shared_ptr<Log> log)
    : connection(std::move(connection))
    , log(std::move(log)) {
    observation = this->connection->observe([this](const PipeWireChange& change) {
        if (change.devices && this->connection->problem()) forgetWishes();
    });
}

PipeWireDeviceIO::~PipeWireDeviceIO() {
    // With the lock no call is under way on PipeWire's thread.
    PipeWireLock lock(connection->loop());
    observation.reset();
    pinned.reset();
}

/// A server that begins anew knows nothing of them. The streams that said them have ended with the old one.
void PipeWireDeviceIO::forgetWishes() {
    MutexLock lock(mutex);
    pinnedRate = 0;
    pinnedFrames = 0;
}

std::unique_ptr<AudioIOProc> PipeWireDeviceIO::createIOProc(AudioObjectID device, AudioIOBlock block) {
    const auto node = connection->devices().device(device);
    if (!node || !block || node->format.channels == 0 || node->format.sampleRate == 0) return nullptr;
    std::shared_ptr<PipeWireCycles> shared;
    {
        MutexLock lock(mutex);
        auto& known = cycles[device];
        if (!known) known = std::make_shared<PipeWireCycles>();
        shared = known;
    }
    return std::make_unique<PipeWireIOProc>(connection, node->name, std::move(block), shared,
                                            limits(node->format.sampleRate).usual,
                                            [this, device] { lookForSharedClock(device); });
}

void PipeWireDeviceIO::lookForSharedClock(AudioObjectID device) const {
    const auto name = [this](AudioObjectID number) {
        const auto node = connection->devices().device(number);
        return node ? node->name : std::to_string(number);
    };
    MutexLock lock(mutex);
    const uint32_t driver = cycles.at(device)->driver;
    for (const auto& [other, running] : cycles) {
        if (other == device || driver == 0 || running->driver != driver) continue;
        log->write("audio-io", LogLevel::standard,
                   name(device) + " and " + name(other) + " run on one clock, that of node " +
                       std::to_string(driver) + ".");
    }
}

PipeWireDeviceIO::Limits PipeWireDeviceIO::limits(uint32_t rate) const {
    PipeWireLock lock(connection->loop());
    Limits result;
    const PipeWireMetadata* const settings = connection->tables().named("settings");
    if (settings == nullptr) return result;
    const auto said = [settings](const char* key, uint32_t otherwise) {
        const uint32_t value = settings->number(key);
        return value != 0 ? value : otherwise;
    };
    result.minimum = said("clock.min-quantum", result.minimum);
    result.maximum = std::max(said("clock.max-quantum", result.maximum), result.minimum);
    result.usual = std::clamp(said("clock.quantum", result.usual), result.minimum, result.maximum);
    // A cycle at another rate is to last about as long, but no longer, in a power of two of frames.
    const uint32_t usualRate = said("clock.rate", 48'000);
    if (rate != usualRate) {
        result.usual = std::bit_floor(static_cast<uint32_t>(uint64_t{result.usual} * rate / usualRate));
    }
    result.usual = said("clock.force-quantum", result.usual);
    return result;
}

std::optional<uint32_t> PipeWireDeviceIO::bufferFrameSize(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    if (!node) return std::nullopt;
    if (const auto running = cyclesOf(device)) {
        if (const uint32_t frames = running->frames) return frames;
    }
    {
        MutexLock lock(mutex);
        if (node->isVirtualDevice() && pinnedFrames != 0) return pinnedFrames;
    }
    return limits(node->format.sampleRate).usual;
}

std::optional<AudioBufferSizeRange> PipeWireDeviceIO::bufferFrameSizeRange(AudioObjectID device) const {
    const auto node = connection->devices().device(device);
    if (!node) return std::nullopt;
    const Limits all = limits(node->format.sampleRate);
    return AudioBufferSizeRange{static_cast<double>(all.minimum), static_cast<double>(all.maximum)};
}

void PipeWireDeviceIO::setBufferFrameSize(AudioObjectID device, uint32_t frames) {
    const auto node = connection->devices().device(device);
    if (!node || !node->isVirtualDevice()) return;
    const Limits all = limits(node->format.sampleRate);
    const uint32_t wanted = std::clamp(frames, all.minimum, all.maximum);
    {
        MutexLock lock(mutex);
        pinnedFrames = wanted == all.usual ? 0 : wanted;
    }
    {
        PipeWireLock lock(connection->loop());
        pin(*node);
    }
    const auto running = cyclesOf(device);
    // The next cycle tells what came of it.
    if (running && running->frames != 0) running->frames = wanted;
}

std::shared_ptr<PipeWireCycles> PipeWireDeviceIO::cyclesOf(AudioObjectID device) const {
    MutexLock lock(mutex);
    const auto found = cycles.find(device);
    return found != cycles.end() ? found->second : nullptr;
}

bool PipeWireDeviceIO::setNominalSampleRate(AudioObjectID device, double rate) {
    const auto node = connection->devices().device(device);
    if (!node || !node->isVirtualDevice() || (rate != 44'100 && rate != 48'000)) return false;
    PipeWireLock lock(connection->loop());
    const auto wanted = static_cast<uint32_t>(rate);
    const uint32_t forced = wanted == connection->graphRate() ? 0 : wanted;
    const auto wish = [this](uint32_t hertz) {
        MutexLock values(mutex);
        return std::exchange(pinnedRate, hertz);
    };
    const uint32_t before = wish(forced);
    if (!pin(*node)) {
        // What has been refused must not come into force later. Wishes that were forgotten meanwhile stay forgotten.
        if (!connection->problem()) wish(before);
        say(*node);
        return false;
    }
    connection->setForcedRate(device, forced);
    return true;
}

/// What is to be, in the place of what was to be before.
void PipeWireDeviceIO::say(const PipeWireNode& node) {
    connection->loop().assertHeld();
    pinned.reset();
    PipeWireCycleWishes wishes;
    {
        MutexLock lock(mutex);
        wishes = {.rate = pinnedRate, .frames = pinnedFrames};
    }
    if (wishes == PipeWireCycleWishes{}) return;
    pinned = std::make_unique<PipeWireDevicePin>(*connection, node, wishes);
}

/// False if it hasn't come into force.
bool PipeWireDeviceIO::pin(const PipeWireNode& node) {
    connection->loop().assertHeld();
    say(node);
    const int64_t deadline = PipeWireLoop::deadlineIn(kSecondsUntilPinRefused);
    while (pinned && !pinned->isInForce()) {
        connection->loop().waitUntil(std::min(PipeWireLoop::deadlineIn(kSecondsBetweenLooks), deadline));
        if (PipeWireLoop::deadlineIn(0) >= deadline) return false;
    }
    return true;
}

} // namespace vintra

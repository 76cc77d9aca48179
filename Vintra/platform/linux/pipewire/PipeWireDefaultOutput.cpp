#include "Vintra/platform/linux/pipewire/PipeWireDefaultOutput.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireMetadata.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kEffectiveKey = "default.audio.sink";
constexpr const char* kConfiguredKey = "default.configured.audio.sink";
constexpr const char* kHeldKey = "vintra.default.audio.sink"; ///< what was in force before the virtual device
constexpr double kSecondsUntilDefaultRefused = 1.0;
constexpr double kSecondsUntilConfirmed = 0.2; // a server that answers at all has done so by then

bool isVirtual(const std::optional<std::string>& name) {
    return name == kVirtualAudioDeviceName;
}

} // namespace

PipeWireDefaultOutput::PipeWireDefaultOutput(std::shared_ptr<PipeWireConnection> connection)
    : PipeWireDefaultOutput(std::move(connection), Patience{}) {}

PipeWireDefaultOutput::PipeWireDefaultOutput(std::shared_ptr<PipeWireConnection> connection,
                                             Patience patience)
    : connection(std::move(connection))
    , patience(patience) {
    PipeWireLock lock(this->connection->loop());
    reminder = std::make_unique<PipeWireTimer>(this->connection->loop(), [this] { insist(); });
    observation = this->connection->observe([this](const PipeWireChange& change) { changed(change); });
}

PipeWireDefaultOutput::~PipeWireDefaultOutput() {
    // With the lock no call is under way on PipeWire's thread.
    PipeWireLock lock(connection->loop());
    observation.reset();
    reminder.reset();
}

PipeWireMetadata* PipeWireDefaultOutput::table() const {
    connection->loop().assertHeld();
    return connection->tables().named("default");
}

std::optional<std::string> PipeWireDefaultOutput::effectiveName() const {
    const PipeWireMetadata* const defaults = table();
    return defaults != nullptr ? defaults->nodeName(kEffectiveKey) : std::nullopt;
}

uint32_t PipeWireDefaultOutput::device() const {
    PipeWireLock lock(connection->loop());
    const bool isHeld = hold && hold->hasBegun;
    const auto name = isHeld ? std::optional<std::string>(kVirtualAudioDeviceName) : effectiveName();
    return name ? connection->devices().numberNamed(*name).value_or(0) : 0;
}

uint32_t PipeWireDefaultOutput::realDevice() const {
    PipeWireLock lock(connection->loop());
    auto name = effectiveName();
    if (isVirtual(name)) name = table()->nodeName(kHeldKey);
    if (name && !isVirtual(name)) {
        if (const auto number = connection->devices().numberNamed(*name)) return *number;
    }
    std::optional<int32_t> highest;
    uint32_t best = 0;
    for (const uint32_t number : connection->devices().numbers()) {
        const auto node = connection->devices().device(number);
        if (!node || !node->isOutput() || node->isVirtualDevice()) continue;
        if (highest && node->sessionPriority <= *highest) continue;
        highest = node->sessionPriority;
        best = number;
    }
    return best;
}

bool PipeWireDefaultOutput::isGone(const std::optional<std::string>& device) const {
    return device && !connection->devices().deviceNamed(*device);
}

bool PipeWireDefaultOutput::setDevice(uint32_t number) {
    if (setHere(number)) return true;
    const auto name = connection->devices().nameOf(number);
    return name && !isVirtual(name) && giveBackAnew(*name);
}

bool PipeWireDefaultOutput::giveBackAnew(const std::string& name) const {
    const auto fresh = std::make_shared<PipeWireConnection>(connection->serverName());
    const auto number = fresh->devices().numberNamed(name);
    return number && PipeWireDefaultOutput(fresh).setHere(*number);
}

bool PipeWireDefaultOutput::setHere(uint32_t number) {
    PipeWireLock lock(connection->loop());
    PipeWireMetadata* const defaults = table();
    const auto node = connection->devices().device(number);
    if (defaults == nullptr || !node || !node->isOutput()) return false;
    // While the virtual device is held the session manager may have another idea for a moment, and what was
    // said against it may still be on its way.
    const bool endsHold = hold && !node->isVirtualDevice();
    const bool isRenewed = hold && node->isVirtualDevice() && isGone(hold->before);
    if (!hold) wasContested = false;
    if (effectiveName() == node->name && !endsHold && !isRenewed) return true;
    const Release release = releaseTo(node->name);
    const auto begun = node->isVirtualDevice() ? std::optional(holdOf(*defaults, isRenewed)) : std::nullopt;
    hold = begun;
    wasContested = false;
    // Of a release the end of the way back is said last: once that is read back, all else has been taken in.
    const auto isInForce = [&] {
        const PipeWireMetadata* const now = table();
        const bool isReleased = !endsHold || (now != nullptr && !now->nodeName(kHeldKey));
        return effectiveName() == node->name && isReleased;
    };
    const int64_t deadline = PipeWireLoop::deadlineIn(kSecondsUntilDefaultRefused);
    while (true) {
        // Repeated, since a busy server loses some of the changes that it is asked for.
        if (PipeWireMetadata* const now = table()) {
            if (!node->isVirtualDevice()) {
                say(release, *now);
            } else if (hold) {
                say(*hold, *now);
            } else {
                return false; // the user has chosen meanwhile
            }
        }
        const int64_t untilAgain = std::min(deadline, PipeWireLoop::deadlineIn(kSecondsUntilConfirmed));
        while (!isInForce() && connection->loop().waitUntil(untilAgain)) {
        }
        if (isInForce()) {
            if (hold) hold->hasBegun = true;
            return true;
        }
        if (untilAgain == deadline) break;
        connection->tables().readAgain("default");
    }
    if (hold) giveUpHold();
    return false;
}

/// One that is renewed has lost the device that was in force before.
PipeWireDefaultOutput::Hold PipeWireDefaultOutput::holdOf(PipeWireMetadata& defaults, bool isRenewed) const {
    Hold begun{.before = defaults.nodeName(kEffectiveKey), .configured = defaults.nodeName(kConfiguredKey)};
    begun.hasBegun = isRenewed;
    if (isRenewed) begun.before = connection->devices().nameOf(realDevice());
    return begun;
}

/// What was asked for must not come into force after it has been called refused.
void PipeWireDefaultOutput::giveUpHold() {
    const auto before = hold->before;
    hold.reset();
    PipeWireMetadata* const defaults = table();
    if (defaults == nullptr) return;
    if (before) defaults->setNodeName(kEffectiveKey, *before);
    defaults->remove(kHeldKey);
}

void PipeWireDefaultOutput::say(const Hold& begun, PipeWireMetadata& defaults) {
    // First the way back: a crash may come after any of these lines.
    if (begun.before) {
        defaults.setNodeName(kHeldKey, *begun.before);
    } else {
        defaults.remove(kHeldKey);
    }
    defaults.setNodeName(kEffectiveKey, kVirtualAudioDeviceName);
}

PipeWireDefaultOutput::Release PipeWireDefaultOutput::releaseTo(const std::string& name) const {
    const PipeWireMetadata& defaults = *table();
    const bool isLent = hold || isVirtual(effectiveName());
    const auto before = hold ? hold->before : defaults.nodeName(kHeldKey);
    const bool isHandedBack = isLent && before == name && !isVirtual(defaults.nodeName(kConfiguredKey));
    return {.name = name, .isConfigured = !isHandedBack};
}

void PipeWireDefaultOutput::say(const Release& release, PipeWireMetadata& defaults) {
    if (release.isConfigured) defaults.setNodeName(kConfiguredKey, release.name);
    // Said as well where it has been configured: a session manager of the same opinion as before says nothing.
    defaults.setNodeName(kEffectiveKey, release.name);
    defaults.remove(kHeldKey);
}

void PipeWireDefaultOutput::changed(const PipeWireChange& change) {
    if (!hold) return;
    connection->loop().assertHeld();
    if (connection->problem()) {
        // Who listened has ended with the server. A new hold is its owner's to take.
        hold.reset();
        reminder->cancel();
        return;
    }
    PipeWireMetadata* const defaults = table();
    if (defaults == nullptr) return;
    if (change.defaultsKey == kConfiguredKey) {
        choiceTold(*defaults);
    } else if (change.defaultsKey == kEffectiveKey) {
        effectiveTold(*defaults);
    }
}

void PipeWireDefaultOutput::choiceTold(PipeWireMetadata& defaults) {
    const auto chosen = defaults.nodeName(kConfiguredKey);
    // A choice that is made again isn't told: this one comes from a session manager that has just begun.
    if (!chosen || isVirtual(chosen) || chosen == hold->configured) return;
    hold.reset();
    defaults.setNodeName(kEffectiveKey, *chosen);
    defaults.remove(kHeldKey);
}

void PipeWireDefaultOutput::effectiveTold(PipeWireMetadata& defaults) {
    const auto idea = defaults.nodeName(kEffectiveKey);
    if (isVirtual(idea)) {
        hold->unconfirmed = 0;
        hold->hasBegun = true;
        reminder->cancel();
        return;
    }
    if (!hold->before) hold->before = idea; // there was none, and now there may be
    const bool isGivenUp = !isGone(hold->before) && hasLostPatience();
    if (isGivenUp || isGone(hold->before)) {
        loseHold();
        wasContested = isGivenUp;
        return;
    }
    // A session manager that has just begun has left nothing of the way back.
    if (hold->before) defaults.setNodeName(kHeldKey, *hold->before);
    defaults.setNodeName(kEffectiveKey, kVirtualAudioDeviceName);
    reminder->startOver(kSecondsUntilConfirmed);
}

/// Each call is one time more that the hold was overruled.
bool PipeWireDefaultOutput::hasLostPatience() {
    const auto longest = static_cast<int64_t>(patience.seconds * 1e9);
    const int64_t now = PipeWireLoop::deadlineIn(0);
    if (now - std::exchange(hold->overruledLast, now) > longest) {
        hold->overruledSince = now;
        hold->overruled = 0;
    }
    ++hold->overruled;
    return hold->overruled > patience.mostTimes ||
           (hold->overruled > patience.someTimes && now - hold->overruledSince > longest);
}

bool PipeWireDefaultOutput::isContested() const {
    PipeWireLock lock(connection->loop());
    return wasContested;
}

/// To another device, which stays in force.
void PipeWireDefaultOutput::loseHold() {
    hold.reset();
    reminder->cancel();
    if (PipeWireMetadata* const defaults = table()) defaults->remove(kHeldKey);
}

void PipeWireDefaultOutput::insist() {
    connection->loop().assertHeld();
    if (!hold || isVirtual(effectiveName())) return;
    if (++hold->unconfirmed > patience.mostTimes) {
        loseHold();
        wasContested = true;
        connection->announce({.defaultsKey = kEffectiveKey});
        return;
    }
    if (PipeWireMetadata* const defaults = table()) {
        effectiveTold(*defaults);
        if (hold) {
            connection->tables().readAgain("default");
        } else {
            connection->announce({.defaultsKey = kEffectiveKey});
        }
    } else {
        reminder->startOver(kSecondsUntilConfirmed);
    }
}

} // namespace vintra

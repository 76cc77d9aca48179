#include "Vintra/audio/OutputRouting.h"

#include "Vintra/audio/WholeHertz.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/HostClock.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr double kPatienceWithRate = 2.0; // seconds, until the virtual device follows the output's rate
constexpr size_t kMostTakenAgain = 3;     // times within the next: more often is another program's doing
constexpr double kTakenAgainWithin = 10;  // seconds

constexpr const char* kCouldNotRoute =
    "Couldn't route computer audio to your output device, so it won't be recorded.";
constexpr const char* kMissingFromHere =
    " — everything from this point is missing from that track. Stop and start a new recording; the other "
    "tracks are unaffected.";

} // namespace

/// The attempt that is under way, for as long as its start waits for it: a start that is let go of gives it up.
class OutputRouting::CurrentAttempt {
public:
    CurrentAttempt(OutputRouting& routing, std::shared_ptr<RelayAttempt> attempt)
        : routing(routing)
        , attempt(std::move(attempt)) {
        routing.attempt = this->attempt;
        routing.attemptHasNoted = false;
    }
    ~CurrentAttempt() {
        if (routing.attempt == attempt) routing.giveUpAttempt();
    }
    CurrentAttempt(const CurrentAttempt&) = delete;
    CurrentAttempt& operator=(const CurrentAttempt&) = delete;

private:
    OutputRouting& routing;
    const std::shared_ptr<RelayAttempt> attempt;
};

OutputRouting::OutputRouting(const Surroundings& surroundings)
    : platform(surroundings.platform)
    , selection(surroundings.selection)
    , isRecording(surroundings.isRecording)
    , lastError(surroundings.lastError)
    , queue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.outputRouting"))
    , router{*platform.audioHardware, *platform.userDefaults}
    , outputClockWatcher(*platform.audioHardware)
    , tasks(*platform.mainThread) {}

OutputRouting::~OutputRouting() {
    giveUpAttempt();
}

bool OutputRouting::wantsRelay() const {
    return !systemAudioRelay && !hasEnded && *selection.captureSystemAudioForDaw;
}

std::optional<AudioObjectID> OutputRouting::virtualDevice() const {
    return SystemOutputRouter::deviceID(*platform.audioHardware, SystemOutputRouter::virtualDeviceUID);
}

Task<> OutputRouting::startSystemAudioRelayIfNeeded() {
    // The repair takes for granted that no relay runs.
    co_await awaitOutputRepair();
    // Another caller's relay is this one's too.
    while (attempt)
        co_await awaitAttempt();
    const auto source = virtualDevice();
    if (!wantsRelay() || !source) co_return;
    const auto output = relayOutput();
    // With the virtual device itself there is nothing to relay to; a take notices that there is no relay.
    if (output == source) co_return;
    if (!output || !isThere(*output)) {
        lastError.set(kCouldNotRoute);
        co_return;
    }
    const auto heardOn = platform.audioHardware->deviceBehind(*output);
    if (!heardOn || *heardOn == *source) {
        lastError.set("Your output device, " + nameOf(*output) +
                      ", plays on to whatever the output is, which is Vintra Audio while computer audio is "
                      "recorded. Choose the device behind it as your output.");
        co_return;
    }
    const Started started = co_await makeSystemAudioRelay(*source, *heardOn, false);
    if (started.problem) lastError.set(*started.problem);
    lookAtHold();
}

bool OutputRouting::isThere(AudioObjectID device) const {
    const auto devices = SystemOutputRouter::allDevices(*platform.audioHardware);
    return std::ranges::find(devices, device) != devices.end();
}

std::string OutputRouting::nameOf(AudioObjectID device) const {
    return SystemOutputRouter::name(*platform.audioHardware, device).value_or("another device");
}

/// The chosen monitor if it is there, else the default output; nothing if there is none.
std::optional<AudioObjectID> OutputRouting::relayOutput() const {
    if (*selection.systemAudioMonitorUID) {
        if (const auto monitor =
                SystemOutputRouter::deviceID(*platform.audioHardware, **selection.systemAudioMonitorUID))
            return monitor;
    }
    const auto output = platform.audioHardware->defaultOutputDevice();
    return output == AudioObjectID{0} ? std::nullopt : output;
}

/// The relay that is there stays in its place, stopped, until another one runs.
Task<OutputRouting::Started> OutputRouting::makeSystemAudioRelay(AudioObjectID source, AudioObjectID heardOn,
                                                                 bool again) {
    RelayAttempt::Plan plan{.virtualDevice = source, .output = heardOn};
    plan.relay = {.lowLatency = *selection.lowLatencyMonitoring,
                  .pinnedTargetFrames = SystemAudioRelay::pinnedTargetFrames(*platform.userDefaults)};
    const auto mine = std::make_shared<RelayAttempt>(
        RelayAttempt::Services{platform.audioHardware, platform.audioDeviceIO, platform.wallClock});
    const CurrentAttempt current(*this, mine);
    const double rate = platform.audioHardware->nominalSampleRate(heardOn).value_or(0);
    // What came of it is asked of the relay.
    co_await SystemAudioRelay::setSampleRate(platform, queue, rate, source, kPatienceWithRate);
    // Meanwhile the user may have changed their mind, or a device have gone.
    if (mine->isGivenUp() || !*selection.captureSystemAudioForDaw) co_return Started{};
    if (!isThere(source) || !isThere(heardOn)) co_return Started{.problem = kCouldNotRoute};

    attemptHasNoted = true;
    const auto previous = SystemOutputRouter::noteWayBack(router);
    plan.switchesOutput = previous || again;
    plan.putBack = previous.value_or(heardOn);
    if (!previous && again && outputDeviceBeforeRecording && isThere(*outputDeviceBeforeRecording))
        plan.putBack = *outputDeviceBeforeRecording;
    if (!previous) SystemOutputRouter::noteRestoreTarget(router, plan.putBack);
    const auto begin = [queue = queue, mine, plan](auto done) {
        queue->async([mine, plan, done] {
            mine->run(plan);
            done();
        });
    };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
    if (mine->isGivenUp()) co_return Started{};
    co_return install(*mine, plan);
}

OutputRouting::Started OutputRouting::install(RelayAttempt& ended, const RelayAttempt::Plan& plan) {
    auto relay = ended.takeRelay();
    if (!relay) {
        platform.userDefaults->remove(SystemOutputRouter::kPendingRestoreKey);
        return {.problem = ended.mismatch()
                               ? *ended.mismatch() +
                                     " Vintra couldn't match the two, so computer audio is unavailable — set "
                                     "both to the same rate in " +
                                     platform.words.soundSettings + "."
                               : kCouldNotRoute};
    }
    systemAudioRelay = std::move(relay);
    relayedTo = plan.output;
    lendsOutput = platform.audioHardware->defaultOutputDevice() == plan.virtualDevice;
    // A default that can't be switched is none to come back to.
    if (plan.switchesOutput && !ended.hasSwitched())
        SystemOutputRouter::noteRestoreTarget(router, plan.output);
    outputDeviceBeforeRecording = ended.hasSwitched() ? plan.putBack : plan.output;
    isUnheard = false;
    isSuspended = false;
    // The volume keys turn the default output, which is the virtual device. What is recorded isn't touched by it.
    volumeListener = platform.audioHardware->addPropertyListener(
        plan.virtualDevice, AudioProperty::outputVolume, tasks.guarded([this] {
            if (systemAudioRelay) systemAudioRelay->followVolume();
        }));
    systemAudioRelay->followVolume();
    selection.isHoldingAudioRouting.set(true);
    return {.hasRelay = true};
}

/// When it returns nothing of the attempt runs, and what it had done is undone.
void OutputRouting::giveUpAttempt() {
    const auto current = std::exchange(attempt, nullptr);
    if (current) {
        current->giveUp();
        queue->sync([&] { current->undo(); });
        if (attemptHasNoted && !systemAudioRelay)
            platform.userDefaults->remove(SystemOutputRouter::kPendingRestoreKey);
    }
    for (const auto& goOn : std::exchange(awaitingAttempt, {}))
        goOn();
}

void OutputRouting::stopSystemAudioRelay() {
    giveUpAttempt();
    letGo();
    putOutputBack();
}

void OutputRouting::end() {
    hasEnded = true;
    if (attempt || systemAudioRelay || isSuspended) stopSystemAudioRelay();
}

/// The way back is kept: what ended may have been no more than this program's connection.
void OutputRouting::suspend() {
    if (!systemAudioRelay) return;
    selection.lastRelayTelemetry = relayTelemetry();
    systemAudioRelay->stop();
    systemAudioRelay = nullptr;
    volumeListener = nullptr;
    isSuspended = true;
    selection.isHoldingAudioRouting.set(false);
}

Task<> OutputRouting::restore(bool isLastTry) {
    if (!isSuspended || !platform.audioHardware->isServiceRunning()) co_return;
    co_await refreshDriverPresence();
    const auto source = virtualDevice();
    const auto output = realOutput();
    if (!isSuspended || !wantsRelay() || attempt || !source || !output) co_return;
    // With the default output where it was, or still with the virtual device.
    const Started started = co_await makeSystemAudioRelay(*source, *output, true);
    if (started.problem && isLastTry) lastError.set(*started.problem);
    lookAtHold();
}

/// Ends the relay, whatever the default output is.
void OutputRouting::letGo() {
    // Before the stop, for the device's name and the state of the buffers.
    selection.lastRelayTelemetry = relayTelemetry();
    if (systemAudioRelay) systemAudioRelay->stop();
    systemAudioRelay = nullptr;
    volumeListener = nullptr;
    lendsOutput = false;
    isSuspended = false;
    selection.isHoldingAudioRouting.set(false);
}

/// What another has chosen as the default output meanwhile stays.
void OutputRouting::putOutputBack() {
    const auto before = std::exchange(outputDeviceBeforeRecording, std::nullopt);
    const auto current = platform.audioHardware->defaultOutputDevice();
    const bool isChosen = current && isThere(*current) && current != virtualDevice();
    if (isChosen) {
        platform.userDefaults->remove(SystemOutputRouter::kPendingRestoreKey);
        return;
    }
    const auto noted = stringForKey(*platform.userDefaults, SystemOutputRouter::kPendingRestoreKey);
    SystemOutputRouter::restore(router, before);
    // The device may have gone. If there is no other the next launch tries again, and says so.
    const bool isLent = before && current && platform.audioHardware->defaultOutputDevice() == virtualDevice();
    if (isLent && !SystemOutputRouter::moveToAnyOutput(*platform.audioHardware) && noted)
        platform.userDefaults->set(SystemOutputRouter::kPendingRestoreKey, *noted);
}

std::optional<OutputRouting::RelayState> OutputRouting::relayState() const {
    if (!systemAudioRelay) return std::nullopt;
    return RelayState{.io = systemAudioRelay->ioCounts(),
                      .hasRateMismatch = systemAudioRelay->rateMismatch().has_value()};
}

std::optional<RelayTelemetry> OutputRouting::relayTelemetry() const {
    return systemAudioRelay ? std::optional(systemAudioRelay->telemetry()) : std::nullopt;
}

std::shared_ptr<AVCaptureDevice> OutputRouting::virtualAudioCaptureDevice() const {
    if (!*selection.systemAudioDriverInstalled) return nullptr;
    return selection.availableAudioInput(SystemOutputRouter::virtualDeviceUID);
}

bool OutputRouting::usesVirtualAudioDevice() const {
    return *selection.captureSystemAudioForDaw && virtualAudioCaptureDevice() && hasSystemAudioRelay();
}

Task<> OutputRouting::refreshDriverPresence() {
    const auto begin = [queue = platform.dispatchQueues->globalQueue(QualityOfService::utility),
                        hardware = platform.audioHardware](auto done) {
        queue->async([hardware, done] {
            done(SystemOutputRouter::deviceID(*hardware, SystemOutputRouter::virtualDeviceUID).has_value());
        });
    };
    const bool isInstalled = co_await awaitCompletion<bool>(*platform.mainThread, begin);
    if (isInstalled != *selection.systemAudioDriverInstalled)
        selection.systemAudioDriverInstalled.set(isInstalled);
    driverPresenceIsKnown = true;
    noteStartUp();
}

Task<> OutputRouting::repairDeadEndOutput() {
    const auto repair = co_await SystemOutputRouter::repairDeadEndOutput(platform);
    outputRepairIsOver = true;
    for (const auto& goOn : std::exchange(awaitingOutputRepair, {}))
        goOn();
    if (repair) tell(*repair);
    noteStartUp();
}

void OutputRouting::tell(const SystemOutputRouter::DeadEndRepair& repair) {
    const std::string sentence =
        repair.wasOurs ? "Vintra didn't shut down cleanly last time and left "
                         "your sound going nowhere. Your output is back on "
                       : "Your " + platform.words.computer +
                             "'s sound output had been set to Vintra Audio, which is silent unless "
                             "Vintra is recording. Your output is back on ";
    lastError.set(sentence + repair.deviceName + ".");
}

void OutputRouting::noteStartUp() {
    if (outputRepairIsOver && driverPresenceIsKnown) selection.isAudioStartUpOver.set(true);
}

void OutputRouting::watchSystemOutput() {
    refreshSystemOutputStatus();
    watchHold();
    outputClockWatcher.start(tasks.guarded([this] { handleSystemOutputClockChanged(); }));
}

Task<> OutputRouting::awaitOutputRepair() {
    if (outputRepairIsOver) co_return;
    const auto begin = [this](auto done) { awaitingOutputRepair.push_back(done); };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

Task<> OutputRouting::awaitAttempt() {
    const auto begin = [this](auto done) { awaitingAttempt.push_back(done); };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

void OutputRouting::refreshSystemOutputStatus() {
    const auto clock = SystemOutputClockWatcher::current(*platform.audioHardware);
    if (!clock) {
        selection.systemOutputStatus.set(std::nullopt);
        return;
    }
    const auto name = SystemOutputClockWatcher::currentOutputDeviceName(*platform.audioHardware);
    selection.systemOutputStatus.set(
        SystemOutputStatus{.deviceName = name.value_or("Output device"), .sampleRate = clock->sampleRate});
}

/// The comparison is always with the start of the take: going back to it tells nothing new.
void OutputRouting::handleSystemOutputClockChanged() {
    refreshSystemOutputStatus();
    lookAtHold();
    // The take isn't unaffected, and that has been told.
    if (!losses.empty()) return;
    const auto current = SystemOutputClockWatcher::current(*platform.audioHardware);
    if (!*isRecording || !outputClockAtRecordingStart || !current || *current == *outputClockAtRecordingStart)
        return;
    const double before = outputClockAtRecordingStart->sampleRate;
    if (current->sampleRate == before) {
        lastError.set("The default output device changed mid-recording. The recording is unaffected, but you "
                      "may not be hearing it through the device you expect.");
        return;
    }
    lastError.set("Your output device's sample rate changed mid-recording (" + wholeHertz(before) + " → " +
                  wholeHertz(current->sampleRate) +
                  "). The recording is unaffected, but what you're "
                  "hearing may be off-pitch until you restart it.");
}

void OutputRouting::noteOutputClock() {
    outputClockAtRecordingStart = SystemOutputClockWatcher::current(*platform.audioHardware);
    losses.clear();
}

void OutputRouting::forgetOutputClock() {
    outputClockAtRecordingStart = std::nullopt;
    losses.clear();
}

void OutputRouting::watchHold() {
    for (const AudioProperty property : {AudioProperty::defaultOutputDevice, AudioProperty::devices}) {
        holdListeners.push_back(platform.audioHardware->addPropertyListener(
            kAudioObjectSystemObject, property, tasks.guarded([this] { lookAtHold(); })));
    }
}

void OutputRouting::lookAtHold() {
    if (!systemAudioRelay || attempt) return; // an attempt's end looks again
    const auto current = platform.audioHardware->defaultOutputDevice();
    const auto source = virtualDevice();
    const bool isLost = lendsOutput && current != source;
    if (!isLost && isThere(relayedTo)) return;
    if (!platform.audioHardware->isServiceRunning()) {
        suspend();
        return;
    }
    // Where the device before has gone, the system has chosen the one that is.
    const bool isChosen = isLost && current && isThere(*current) && outputDeviceBeforeRecording &&
                          isThere(*outputDeviceBeforeRecording);
    const bool isContested = platform.audioHardware->isDefaultOutputContested();
    if (isChosen && (*isRecording || isContested || !mayTakeAgain())) {
        respectChoice(*current);
    } else {
        tasks.start(takeAgain(isLost));
    }
}

/// In a take it ends the hold.
void OutputRouting::respectChoice(AudioObjectID chosen) {
    letGo();
    outputDeviceBeforeRecording = std::nullopt;
    platform.userDefaults->remove(SystemOutputRouter::kPendingRestoreKey);
    const std::string sentence = "Your sound output was switched to " + nameOf(chosen);
    if (*isRecording) {
        noteLoss(sentence + " mid-recording, so computer audio has stopped recording" + kMissingFromHere);
    } else {
        lastError.set(sentence +
                      " again and again, so computer audio isn't routed through Vintra any more. The "
                      "next recording tries again; end the program that switches it.");
    }
}

/// False if it has been too often, as when another program insists on its own device.
bool OutputRouting::mayTakeAgain() {
    const double now = CMTimeGetSeconds(platform.hostClock->now());
    std::erase_if(takenAgainAt, [&](double at) { return at < now - kTakenAgainWithin; });
    if (takenAgainAt.size() >= kMostTakenAgain) return false;
    takenAgainAt.push_back(now);
    return true;
}

/// What the user can hear it on now: the chosen monitor, the default output, the one before, or where alerts go.
std::optional<AudioObjectID> OutputRouting::realOutput() const {
    const auto source = virtualDevice();
    for (const auto& candidate :
         {relayOutput(), platform.audioHardware->defaultOutputDevice(), outputDeviceBeforeRecording,
          platform.audioHardware->defaultSystemOutputDevice()}) {
        if (!candidate || candidate == source || !isThere(*candidate)) continue;
        const auto heardOn = platform.audioHardware->deviceBehind(*candidate);
        if (heardOn && heardOn != source && isThere(*heardOn)) return heardOn;
    }
    return std::nullopt;
}

/// Lends the default output again, or plays to another device, or both.
Task<> OutputRouting::takeAgain(bool wasLost) {
    const auto source = virtualDevice();
    const auto output = realOutput();
    if (!wasLost && (!output || !source)) {
        if (!std::exchange(isUnheard, true)) {
            noteLoss(std::string("The output device that you heard computer audio on has gone. ") +
                     (*isRecording ? "The recording is unaffected, but you" : "You") +
                     " can't hear it until you connect another.");
        }
        co_return;
    }
    systemAudioRelay->stop();
    Started started{.problem = kCouldNotRoute};
    const bool isTried = output && source && (!*isRecording || mayTakeAgain());
    if (isTried) started = co_await makeSystemAudioRelay(*source, *output, true);
    if (!started.hasRelay && !started.problem) co_return; // given up by who stopped the routing
    if (started.hasRelay && lendsOutput) {
        const std::string heard = "You hear it on " + nameOf(relayedTo) + " now.";
        if (*isRecording && wasLost) {
            noteLoss(
                "Your output device changed mid-recording, so a moment of computer audio may be missing. " +
                heard);
        } else if (*isRecording) {
            noteLoss(
                "The output device that you heard computer audio on has gone. The recording is unaffected. " +
                heard);
        }
        lookAtHold();
        co_return;
    }
    letGo();
    putOutputBack();
    if (*isRecording) {
        noteLoss(
            "Your output device changed mid-recording and couldn't be routed through Vintra Audio again, so "
            "computer audio has stopped recording" +
            std::string(kMissingFromHere));
    } else {
        lastError.set(started.problem.value_or(kCouldNotRoute));
    }
}

void OutputRouting::noteLoss(const std::string& sentence) {
    lastError.set(sentence);
    if (*isRecording) losses.push_back(sentence);
}

} // namespace vintra

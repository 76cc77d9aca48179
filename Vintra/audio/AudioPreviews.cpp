#include "Vintra/audio/AudioPreviews.h"

#include "Vintra/audio/OutputRouting.h"
#include "Vintra/platform/Drain.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/UserDefaults.h"

#include <algorithm>
#include <set>
#include <utility>

namespace vintra {

AudioPreviews::AudioPreviews(const Surroundings& surroundings)
    : platform(surroundings.platform)
    , selection(surroundings.selection)
    , sessionControl(surroundings.sessionControl)
    , outputRouting(surroundings.outputRouting)
    , isRecording(surroundings.isRecording)
    , lastError(surroundings.lastError)
    , samplePath(surroundings.samplePath)
    , micOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.micOutput"))
    , dawOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.dawOutput"))
    , extraInputOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.extraInputOutput"))
    , systemAudioQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.systemAudio"))
    , micPreview(micRole(), previewSurroundings(), samplePath->micActivity)
    , dawPreview(dawRole(), previewSurroundings(), samplePath->dawActivity)
    , extraPreviews(previewSurroundings(), extraInputOutputQueue)
    , tasks(*platform.mainThread) {
    followSelection();
}

std::vector<std::shared_ptr<DispatchQueue>> AudioPreviews::queues() const {
    return {micOutputQueue, dawOutputQueue, extraInputOutputQueue, systemAudioQueue};
}

AudioPreview::Surroundings AudioPreviews::previewSurroundings() {
    return {.platform = platform,
            .selection = selection,
            .sessionControl = sessionControl,
            .isRecording = isRecording,
            .lastError = lastError,
            .delegate = samplePath,
            .changed = [this] { syncRoutingCache(); }};
}

AudioPreview::Role AudioPreviews::micRole() const {
    return {.formatChanged =
                "Mic input's audio format changed unexpectedly mid-recording. That track may have "
                "stopped receiving data — other tracks are still recording.",
            .level = LevelKey::mic(),
            .target = [this] { return *selection.selectedMicDeviceID; },
            .channels =
                [this](const AVCaptureDevice& device) { return selection.channelCount(device.uniqueID()); },
            .queue = micOutputQueue};
}

AudioPreview::Role AudioPreviews::dawRole() const {
    return {.formatChanged =
                "Virtual input's audio format changed unexpectedly mid-recording. That track may "
                "have stopped receiving data — other tracks are still recording.",
            .level = LevelKey::daw(),
            .target = [this] { return dawPreviewTargetDeviceID(); },
            .channels = &AudioPreviews::dawChannelCount,
            .queue = dawOutputQueue};
}

int AudioPreviews::dawChannelCount(const AVCaptureDevice& device) {
    const auto format = device.activeAudioFormat();
    return format && format->mChannelsPerFrame < 2 ? 1 : 2;
}

std::optional<std::string> AudioPreviews::dawPreviewTargetDeviceID() const {
    if (!*selection.captureSystemAudioForDaw) return *selection.selectedDawDeviceID;
    const auto device = outputRouting.virtualAudioCaptureDevice();
    if (device && outputRouting.hasSystemAudioRelay()) return device->uniqueID();
    return std::nullopt;
}

Task<> AudioPreviews::endPreviews() {
    // A device that comes while one of them ends isn't taken up by the others.
    micPreview.refuseMore();
    dawPreview.refuseMore();
    extraPreviews.refuseMore();
    co_await micPreview.end();
    co_await dawPreview.end();
    co_await extraPreviews.end();
    for (const auto& queue : queues())
        co_await drain(*platform.mainThread, queue);
}

void AudioPreviews::repairPreview(const std::shared_ptr<AVCaptureSession>& session) {
    if (session == micPreview.session()) {
        micPreview.forgetDevice();
        tasks.post([this] { return configureMicPreview(); });
    } else if (session == dawPreview.session()) {
        dawPreview.forgetDevice();
        tasks.post([this] { return rebuildDawPreview(); });
    } else if (extraPreviews.forget(session)) {
        syncRoutingCache();
        tasks.post([this] { return configureExtraPreviews(); });
    }
}

std::vector<std::shared_ptr<AVCaptureSession>>
AudioPreviews::sessionsThatEnded(const std::string& deviceID) const {
    std::vector<std::shared_ptr<AVCaptureSession>> sessions;
    if (micPreview.deviceID() == deviceID) sessions.push_back(micPreview.session());
    if (dawPreview.deviceID() == deviceID) sessions.push_back(dawPreview.session());
    sessions.push_back(extraPreviews.sessionOf(deviceID));
    std::erase_if(sessions, [](const auto& session) { return !session || session->isRunning(); });
    return sessions;
}

void AudioPreviews::resume(const std::string& deviceID) {
    for (const auto& session : sessionsThatEnded(deviceID))
        sessionControl.start(session, tasks.guarded([this] { syncRoutingCache(); }));
}

std::optional<std::string> AudioPreviews::deviceOf(const std::shared_ptr<AVCaptureSession>& session) const {
    if (session == nullptr) return std::nullopt;
    if (session == micPreview.session()) return micPreview.deviceID();
    if (session == dawPreview.session()) return dawPreview.deviceID();
    return extraPreviews.deviceOf(session);
}

void AudioPreviews::repairDevice(const std::string& deviceID) {
    for (const auto& session : sessionsThatEnded(deviceID))
        repairPreview(session);
}

Task<> AudioPreviews::restore(bool isLastTry) {
    co_await outputRouting.restore(isLastTry);
    if (*isRecording) {
        const auto inputs = *selection.availableAudioInputDevices;
        for (const auto& device : inputs)
            resume(device->uniqueID());
        co_return;
    }
    co_await micPreview.restore();
    co_await dawPreview.restore();
    co_await extraPreviews.restore();
}

void AudioPreviews::serviceHasEnded() {
    outputRouting.suspend();
    // They deliver no more, and a service that begins anew is to find nothing that another one has linked.
    std::vector<std::shared_ptr<AVCaptureSession>> sessions = extraPreviews.sessions();
    sessions.push_back(micPreview.session());
    sessions.push_back(dawPreview.session());
    for (const auto& session : sessions) {
        if (session) tasks.start(sessionControl.stop(session));
    }
    noteDelivery();
}

void AudioPreviews::serviceIsBack() {
    const double now = CMTimeGetSeconds(platform.hostClock->now());
    samplePath->micActivity.stamp(now);
    samplePath->dawActivity.stamp(now);
}

void AudioPreviews::followSelection() {
    selection.selectedMicDeviceID.onChange([this](const auto&) {
        selection.selectedMicChannelIndex.set(0);
        noteLastUsedAudioDevice(*selection.selectedMicDeviceID);
        noteDelivery();
        tasks.post([this] { return configureMicPreview(); });
    });
    selection.selectedDawDeviceID.onChange([this](const auto&) {
        noteLastUsedAudioDevice(*selection.selectedDawDeviceID);
        noteDelivery();
        tasks.post([this] { return configureDawPreview(); });
    });
    selection.selectedMicChannelIndex.onChange([this](int) { syncRoutingCache(); });
    selection.micGainDB.onChange([this](double) { syncRoutingCache(); });
    selection.dawGainDB.onChange([this](double) { syncRoutingCache(); });
    selection.extraAudioInputs.onChange([this](const auto& old) { extraAudioInputsChanged(old); });
    selection.captureSystemAudioForDaw.onChange([this](bool) { captureSystemAudioChanged(); });
    selection.lowLatencyMonitoring.onChange([this](bool) { lowLatencyMonitoringChanged(); });
    const auto note = [this](const auto&) { noteDelivery(); };
    levelObservations = {selection.levels->micLevel.observe(note), selection.levels->dawLevel.observe(note),
                         selection.levels->extraInputLevels.observe(note)};
}

void AudioPreviews::captureSystemAudioChanged() {
    if (!*selection.captureSystemAudioForDaw) outputRouting.stopSystemAudioRelay();
    noteDelivery();
    tasks.post([this] { return applyComputerAudioChoice(); });
}

Task<> AudioPreviews::applyComputerAudioChoice() {
    if (*selection.captureSystemAudioForDaw) co_await outputRouting.startSystemAudioRelayIfNeeded();
    co_await configureDawPreview();
}

void AudioPreviews::lowLatencyMonitoringChanged() {
    if (!*selection.captureSystemAudioForDaw || *isRecording) return;
    outputRouting.stopSystemAudioRelay();
    tasks.post([this] { return applyLowLatencyChoice(); });
}

Task<> AudioPreviews::applyLowLatencyChoice() {
    co_await outputRouting.startSystemAudioRelayIfNeeded();
    co_await rebuildDawPreview();
}

/// A row's channel, name or gain needs the routing alone; another set of devices or of rows needs the
/// sessions.
void AudioPreviews::extraAudioInputsChanged(const std::vector<ExtraAudioInputConfig>& old) {
    const auto& rows = *selection.extraAudioInputs;
    const auto devices = [](const std::vector<ExtraAudioInputConfig>& of) {
        std::set<std::string> ids;
        for (const ExtraAudioInputConfig& row : of) {
            if (row.deviceID) ids.insert(*row.deviceID);
        }
        return ids;
    };
    for (const ExtraAudioInputConfig& row : rows) {
        const auto before = std::ranges::find(old, row.id, &ExtraAudioInputConfig::id);
        if (before == old.end() || before->deviceID != row.deviceID) noteLastUsedAudioDevice(row.deviceID);
    }
    if (devices(old) == devices(rows) && old.size() == rows.size()) {
        syncRoutingCache();
        return;
    }
    tasks.post([this] { return configureExtraPreviews(); });
}

void AudioPreviews::noteLastUsedAudioDevice(const std::optional<std::string>& uniqueID) {
    if (uniqueID) platform.userDefaults->set("lastUsedAudioDeviceID", *uniqueID);
}

void AudioPreviews::syncRoutingCache() {
    AudioRoutingCache::Snapshot snapshot;
    if (micPreview.dataOutput()) {
        const int total = selection.channelCount(micPreview.deviceID().value_or(""));
        snapshot.mic = AudioRoutingCache::MicRouting{
            .output = micPreview.dataOutput(),
            .totalChannels = total,
            .channelIndex = std::clamp(*selection.selectedMicChannelIndex, 0, total - 1),
            .gainDB = *selection.micGainDB};
    }
    snapshot.dawOutput = dawPreview.dataOutput();
    snapshot.dawGainDB = *selection.dawGainDB;
    snapshot.extra = extraPreviews.routing();
    samplePath->routingCache.store(std::move(snapshot));
    noteDelivery();
}

void AudioPreviews::noteDelivery() {
    const bool wantsMic = selection.availableAudioInput(*selection.selectedMicDeviceID) != nullptr;
    const bool wantsSecond = *selection.captureSystemAudioForDaw ||
                             selection.availableAudioInput(*selection.selectedDawDeviceID) != nullptr;
    const bool micDelivers =
        micPreview.deviceID() == *selection.selectedMicDeviceID && micPreview.isDelivering();
    const bool secondDelivers =
        dawPreview.deviceID() == dawPreviewTargetDeviceID() && dawPreview.isDelivering();
    const bool areDelivering =
        (!wantsMic || micDelivers) && (!wantsSecond || secondDelivers) && extraPreviews.areRunning();
    if (areDelivering != *selection.arePreviewsDelivering) selection.arePreviewsDelivering.set(areDelivering);
}

} // namespace vintra

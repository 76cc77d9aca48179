// One running capture session for each audio device that the user has chosen. The meters hang on these
// sessions between takes, and a take merely attaches writers to them: it never starts a device cold. During a
// take they are frozen.

#include "Vintra/platform/MainThread.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace vintra {
namespace {

constexpr uint32_t kPreviewBitDepth = 32; // float samples

} // namespace

std::shared_ptr<AVCaptureDevice>
ScreenRecorderManager::availableAudioInput(const std::optional<std::string>& uniqueID) const {
    if (!uniqueID) return nullptr;
    for (const auto& device : *availableAudioInputDevices) {
        if (device->uniqueID() == *uniqueID) return device;
    }
    return nullptr;
}

int ScreenRecorderManager::channelCount(const std::string& uniqueID) const {
    const auto entry = audioDeviceChannelCounts->find(uniqueID);
    return entry == audioDeviceChannelCounts->end() ? 1 : std::max(1, entry->second);
}

/// The second track has at most two channels, whatever the device offers.
int ScreenRecorderManager::dawChannelCount(const AVCaptureDevice& device) {
    const auto format = device.activeAudioFormat();
    return format && format->mChannelsPerFrame < 2 ? 1 : 2;
}

std::optional<std::string> ScreenRecorderManager::dawPreviewTargetDeviceID() const {
    if (!*captureSystemAudioForDaw) return *selectedDawDeviceID;
    const auto device = virtualAudioCaptureDevice();
    if (device && hasSystemAudioRelay()) return device->uniqueID();
    return std::nullopt;
}

/// A session of the device with one output; nothing if any step fails, which leaves the preview absent, or
/// once the previews have ended.
std::optional<ScreenRecorderManager::CaptureChain>
ScreenRecorderManager::makeCaptureChain(const std::shared_ptr<AVCaptureDevice>& device, int channels,
                                        const std::shared_ptr<DispatchQueue>& queue) {
    if (previewsHaveEnded) return std::nullopt;
    CaptureChain chain;
    chain.session = platform.captureDevices->makeSession();
    std::shared_ptr<AVCaptureDeviceInput> input;
    try {
        input = platform.captureDevices->makeDeviceInput(device);
    } catch (const SystemError&) {
        return std::nullopt;
    }
    if (!input || !chain.session->canAddInput(*input)) return std::nullopt;
    chain.session->addInput(input);
    AVAudioSettings settings = capturePCMSettings(channels);
    settings.linearPCMBitDepth = kPreviewBitDepth;
    settings.linearPCMIsFloat = true;
    chain.dataOutput = platform.captureDevices->makeAudioDataOutput(settings);
    if (!chain.dataOutput || !chain.session->canAddOutput(*chain.dataOutput)) return std::nullopt;
    chain.dataOutput->setSampleBufferDelegate(weak_from_this(), queue);
    chain.session->addOutput(chain.dataOutput);
    return chain;
}

/// Runs a session on the queue that a hanging device may block, and returns at once.
void ScreenRecorderManager::startSession(std::shared_ptr<AVCaptureSession> session) {
    sessionControlQueue->async([session] { session->startRunning(); });
}

Task<> ScreenRecorderManager::stopSession(std::shared_ptr<AVCaptureSession> session) {
    const auto begin = [queue = sessionControlQueue, session](auto done) {
        queue->async([session, done] {
            session->stopRunning();
            done();
        });
    };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

Task<> ScreenRecorderManager::takeDown(AudioPreview& preview) {
    const auto session = preview.session;
    if (session) co_await stopSession(session);
    // Another configure may have built the next one meanwhile.
    if (preview.session == session) preview = {};
}

Task<> ScreenRecorderManager::endPreviews() {
    previewsHaveEnded = true; // a device that comes meanwhile isn't taken up
    const std::vector<ExtraPreview> extras = std::exchange(extraPreviews, {});
    co_await takeDown(micPreview);
    co_await takeDown(dawPreview);
    for (const ExtraPreview& preview : extras)
        co_await stopSession(preview.session);
    const std::vector<std::shared_ptr<DispatchQueue>> queues{micOutputQueue, dawOutputQueue,
                                                             extraInputOutputQueue};
    for (const auto& queue : queues)
        co_await drain(queue);
}

bool ScreenRecorderManager::isDelivering(const AudioPreview& preview, const ActivityStamp& activity) {
    return preview.session && preview.session->isRunning() && activity.last() > preview.configuredAt;
}

Task<> ScreenRecorderManager::configureMicPreview() {
    if (micPreview.deviceID == *selectedMicDeviceID) co_return;
    co_await takeDown(micPreview);
    if (micPreview.session && micPreview.deviceID == *selectedMicDeviceID) co_return;
    if (!*isRecording) levels->set(LevelKey::mic(), 0);
    syncRoutingCache();
    if (*isRecording) co_return; // a session must not appear in the middle of a take
    const auto device = availableAudioInput(*selectedMicDeviceID);
    if (!device) co_return;
    const bool granted = co_await requestMicPermissionIfNeeded();
    // The wait may have been long: a take may have begun, the selection moved, another configure built the
    // preview.
    const std::string uniqueID = device->uniqueID();
    if (!granted || *isRecording || *selectedMicDeviceID != uniqueID || micPreview.deviceID == uniqueID)
        co_return;

    const auto chain = makeCaptureChain(device, channelCount(uniqueID), micOutputQueue);
    if (!chain) co_return;
    micPreview.session = chain->session;
    micPreview.dataOutput = chain->dataOutput;
    micPreview.deviceID = uniqueID;
    micPreview.configuredAt = hostSeconds();
    micActivity.stamp(micPreview.configuredAt); // gives the new session its time
    syncRoutingCache();
    startSession(chain->session);
    micPreview.sampleRateWatcher =
        watchSampleRate(uniqueID, [](ScreenRecorderManager& self) { self.handleMicDeviceFormatChanged(); });
}

Task<> ScreenRecorderManager::configureDawPreview() {
    if (dawPreview.deviceID == dawPreviewTargetDeviceID()) co_return;
    co_await takeDown(dawPreview);
    if (dawPreview.session && dawPreview.deviceID == dawPreviewTargetDeviceID()) co_return;
    if (!*isRecording) levels->set(LevelKey::daw(), 0);
    syncRoutingCache();
    if (*isRecording) co_return;
    const auto device = availableAudioInput(dawPreviewTargetDeviceID());
    if (!device) co_return;
    const bool granted = co_await requestMicPermissionIfNeeded();
    const std::string uniqueID = device->uniqueID();
    if (!granted || *isRecording || dawPreviewTargetDeviceID() != uniqueID || dawPreview.deviceID == uniqueID)
        co_return;

    const auto chain = makeCaptureChain(device, dawChannelCount(*device), dawOutputQueue);
    if (!chain) co_return;
    dawPreview.session = chain->session;
    dawPreview.dataOutput = chain->dataOutput;
    dawPreview.deviceID = uniqueID;
    dawPreview.configuredAt = hostSeconds();
    dawActivity.stamp(dawPreview.configuredAt);
    syncRoutingCache();
    startSession(chain->session);
    dawPreview.sampleRateWatcher =
        watchSampleRate(uniqueID, [](ScreenRecorderManager& self) { self.handleDawDeviceFormatChanged(); });
}

Task<> ScreenRecorderManager::rebuildDawPreview() {
    if (*isRecording) co_return;
    dawPreview.deviceID = std::nullopt;
    co_await configureDawPreview();
}

Task<> ScreenRecorderManager::configureExtraPreviews() {
    if (*isRecording) co_return;
    const auto wantedDevices = [this] {
        std::vector<std::string> wanted; // in the order of their first rows
        for (const ExtraAudioInputConfig& row : *extraAudioInputs) {
            if (row.deviceID && std::find(wanted.begin(), wanted.end(), *row.deviceID) == wanted.end()) {
                wanted.push_back(*row.deviceID);
            }
        }
        return wanted;
    };
    const auto hasPreview = [this](const std::string& deviceID) {
        return std::any_of(extraPreviews.begin(), extraPreviews.end(),
                           [&](const ExtraPreview& preview) { return preview.deviceID == deviceID; });
    };
    const auto isUnwanted = [&wantedDevices](const ExtraPreview& preview) {
        const auto wanted = wantedDevices();
        return std::find(wanted.begin(), wanted.end(), preview.deviceID) == wanted.end();
    };
    for (auto gone = std::find_if(extraPreviews.begin(), extraPreviews.end(), isUnwanted);
         gone != extraPreviews.end();
         gone = std::find_if(extraPreviews.begin(), extraPreviews.end(), isUnwanted)) {
        const auto session = gone->session;
        co_await stopSession(session);
        std::erase_if(extraPreviews, [&](const ExtraPreview& preview) { return preview.session == session; });
    }
    std::set<UUID> rows;
    for (const ExtraAudioInputConfig& row : *extraAudioInputs)
        rows.insert(row.id);
    levels->pruneExtraLevels(rows);
    syncRoutingCache();
    auto wanted = wantedDevices();
    if (std::all_of(wanted.begin(), wanted.end(), hasPreview)) co_return;
    const bool granted = co_await requestMicPermissionIfNeeded();
    if (!granted) co_return;
    wanted = wantedDevices(); // the wait may have been long
    for (const std::string& deviceID : wanted) {
        const auto device = availableAudioInput(deviceID);
        if (*isRecording || !device || hasPreview(deviceID)) continue;
        const auto chain = makeCaptureChain(device, channelCount(deviceID), extraInputOutputQueue);
        if (!chain) continue;
        extraPreviews.push_back(
            {.deviceID = deviceID, .session = chain->session, .dataOutput = chain->dataOutput});
        syncRoutingCache();
        startSession(chain->session);
    }
}

bool ScreenRecorderManager::areExtraPreviewsRunning() const {
    return std::all_of(extraPreviews.begin(), extraPreviews.end(),
                       [](const ExtraPreview& preview) { return preview.session->isRunning(); });
}

std::unique_ptr<DeviceSampleRateWatcher>
ScreenRecorderManager::watchSampleRate(const std::string& deviceUID,
                                       void (*onChange)(ScreenRecorderManager&)) {
    auto watcher = DeviceSampleRateWatcher::make(*platform.audioHardware, deviceUID);
    if (!watcher) return nullptr;
    watcher->start([weak = weak_from_this(), onChange] {
        if (const auto self = weak.lock()) onChange(*self);
    });
    return watcher;
}

void ScreenRecorderManager::handleMicDeviceFormatChanged() {
    if (*isRecording) {
        lastError.set("Mic input's audio format changed unexpectedly mid-recording. That track may have "
                      "stopped receiving data — other tracks are still recording.");
        return;
    }
    micPreview.deviceID = std::nullopt;
    startTask(&ScreenRecorderManager::configureMicPreview);
}

void ScreenRecorderManager::handleDawDeviceFormatChanged() {
    if (*isRecording) {
        lastError.set(
            "Virtual input's audio format changed unexpectedly mid-recording. That track may have stopped "
            "receiving data — other tracks are still recording.");
        return;
    }
    dawPreview.deviceID = std::nullopt;
    startTask(&ScreenRecorderManager::configureDawPreview);
}

/// A row's channel, name or gain needs the routing alone; another set of devices or of rows needs the
/// sessions.
void ScreenRecorderManager::extraAudioInputsChanged(const std::vector<ExtraAudioInputConfig>& old) {
    const auto devices = [](const std::vector<ExtraAudioInputConfig>& rows) {
        std::set<std::string> ids;
        for (const ExtraAudioInputConfig& row : rows) {
            if (row.deviceID) ids.insert(*row.deviceID);
        }
        return ids;
    };
    for (const ExtraAudioInputConfig& row : *extraAudioInputs) {
        const auto before = std::find_if(old.begin(), old.end(),
                                         [&](const auto& candidate) { return candidate.id == row.id; });
        if (before == old.end() || before->deviceID != row.deviceID) noteLastUsedAudioDevice(row.deviceID);
    }
    if (devices(old) == devices(*extraAudioInputs) && old.size() == extraAudioInputs->size()) {
        syncRoutingCache();
        return;
    }
    startTask(&ScreenRecorderManager::configureExtraPreviews);
}

} // namespace vintra

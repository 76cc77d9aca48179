#include "Vintra/audio/ExtraAudioPreviews.h"

#include "Vintra/platform/CaptureAccess.h"
#include "Vintra/platform/HostClock.h"

#include <algorithm>
#include <set>
#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsForExtraToBegin = 4; // for the start to be called and to return

} // namespace

ExtraAudioPreviews::ExtraAudioPreviews(const AudioPreview::Surroundings& surroundings,
                                       std::shared_ptr<DispatchQueue> queue)
    : surroundings(surroundings)
    , queue(std::move(queue))
    , tasks(*surroundings.platform.mainThread) {}

Task<> ExtraAudioPreviews::configure() {
    if (*surroundings.isRecording) co_return;
    co_await stopUnwanted();
    AudioSelection& selection = surroundings.selection;
    std::set<UUID> rows;
    for (const ExtraAudioInputConfig& row : *selection.extraAudioInputs)
        rows.insert(row.id);
    selection.levels->pruneExtraLevels(rows);
    surroundings.changed();
    const auto wanted = selection.extraInputDeviceIDs();
    const bool isComplete = std::ranges::all_of(wanted, [this](const auto& id) { return hasPreview(id); });
    if (!isComplete) co_await startMissing();
}

Task<> ExtraAudioPreviews::stopUnwanted() {
    const auto isUnwanted = [this](const ExtraPreview& preview) {
        const auto wanted = surroundings.selection.extraInputDeviceIDs();
        return std::ranges::find(wanted, preview.deviceID) == wanted.end();
    };
    for (auto gone = std::ranges::find_if(extraPreviews, isUnwanted); gone != extraPreviews.end();
         gone = std::ranges::find_if(extraPreviews, isUnwanted)) {
        const auto session = gone->chain.session;
        co_await surroundings.sessionControl.stop(session);
        forget(session);
    }
}

Task<> ExtraAudioPreviews::startMissing() {
    const Platform& platform = surroundings.platform;
    const bool granted =
        co_await requestAccessIfNeeded(platform.captureDevices, *platform.mainThread, AVMediaType::audio);
    if (!granted || hasEnded) co_return;
    const AudioSelection& selection = surroundings.selection;
    // The wait may have been long: what is wanted is asked again.
    for (const std::string& deviceID : selection.extraInputDeviceIDs()) {
        const auto device = selection.availableAudioInput(deviceID);
        if (*surroundings.isRecording || !device || hasPreview(deviceID)) continue;
        auto chain = makeAudioCaptureChain(*platform.captureDevices, device, selection.channelCount(deviceID),
                                           surroundings.delegate, queue);
        if (!chain) continue;
        extraPreviews.push_back({.deviceID = deviceID,
                                 .chain = std::move(*chain),
                                 .startedAt = CMTimeGetSeconds(platform.hostClock->now())});
        surroundings.changed();
        surroundings.sessionControl.start(extraPreviews.back().chain.session,
                                          tasks.guarded([this] { surroundings.changed(); }));
    }
}

Task<> ExtraAudioPreviews::restore() {
    if (*surroundings.isRecording) co_return;
    const double now = CMTimeGetSeconds(surroundings.platform.hostClock->now());
    std::erase_if(extraPreviews, [&](const ExtraPreview& preview) {
        const bool isThere = surroundings.selection.availableAudioInput(preview.deviceID) != nullptr;
        const bool mayStillBegin =
            now - preview.startedAt < kSecondsForExtraToBegin || preview.chain.session->mayStillBegin();
        return isThere && !mayStillBegin && !preview.chain.session->isRunning();
    });
    co_await configure();
}

Task<> ExtraAudioPreviews::end() {
    refuseMore();
    const std::vector<ExtraPreview> ending = std::exchange(extraPreviews, {});
    for (const ExtraPreview& preview : ending)
        co_await surroundings.sessionControl.stop(preview.chain.session);
}

bool ExtraAudioPreviews::forget(const std::shared_ptr<AVCaptureSession>& session) {
    return std::erase_if(extraPreviews,
                         [&](const ExtraPreview& preview) { return preview.chain.session == session; }) > 0;
}

bool ExtraAudioPreviews::contains(const std::shared_ptr<AVCaptureSession>& session) const {
    return std::ranges::any_of(extraPreviews,
                               [&](const ExtraPreview& preview) { return preview.chain.session == session; });
}

bool ExtraAudioPreviews::hasPreview(const std::string& deviceID) const {
    return outputOf(deviceID) != nullptr;
}

bool ExtraAudioPreviews::areRunning() const {
    return std::ranges::all_of(
        extraPreviews, [](const ExtraPreview& preview) { return preview.chain.session->isRunning(); });
}

std::shared_ptr<AVCaptureAudioDataOutput> ExtraAudioPreviews::outputOf(const std::string& deviceID) const {
    const auto found = std::ranges::find(extraPreviews, deviceID, &ExtraPreview::deviceID);
    return found == extraPreviews.end() ? nullptr : found->chain.dataOutput;
}

std::shared_ptr<AVCaptureSession> ExtraAudioPreviews::sessionOf(const std::string& deviceID) const {
    const auto found = std::ranges::find(extraPreviews, deviceID, &ExtraPreview::deviceID);
    return found == extraPreviews.end() ? nullptr : found->chain.session;
}

std::optional<std::string>
ExtraAudioPreviews::deviceOf(const std::shared_ptr<AVCaptureSession>& session) const {
    for (const ExtraPreview& preview : extraPreviews) {
        if (preview.chain.session == session) return preview.deviceID;
    }
    return std::nullopt;
}

std::vector<std::shared_ptr<AVCaptureSession>> ExtraAudioPreviews::sessions() const {
    std::vector<std::shared_ptr<AVCaptureSession>> result;
    for (const ExtraPreview& preview : extraPreviews)
        result.push_back(preview.chain.session);
    return result;
}

std::vector<AudioRoutingCache::ExtraRouting> ExtraAudioPreviews::routing() const {
    std::vector<AudioRoutingCache::ExtraRouting> routings;
    for (const ExtraPreview& preview : extraPreviews) {
        AudioRoutingCache::ExtraRouting routing{.output = preview.chain.dataOutput,
                                                .totalChannels =
                                                    surroundings.selection.channelCount(preview.deviceID),
                                                .configs = {}};
        for (const ExtraAudioInputConfig& row : *surroundings.selection.extraAudioInputs) {
            if (row.deviceID != preview.deviceID) continue;
            routing.configs.push_back({.id = row.id, .channelIndex = row.channelIndex, .gainDB = row.gainDB});
        }
        routings.push_back(std::move(routing));
    }
    return routings;
}

} // namespace vintra

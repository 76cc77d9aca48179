#include "Vintra/audio/AudioPreview.h"

#include "Vintra/platform/CaptureAccess.h"
#include "Vintra/platform/HostClock.h"

#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsToBegin = 4; // for the start to be called and to return

} // namespace

AudioPreview::AudioPreview(Role role, const Surroundings& surroundings, ActivityStamp& activity)
    : role(std::move(role))
    , surroundings(surroundings)
    , activity(activity)
    , tasks(*surroundings.platform.mainThread) {}

bool AudioPreview::isDelivering() const {
    return session() && session()->isRunning() && activity.last() > installed.configuredAt;
}

std::shared_ptr<AVCaptureAudioDataOutput> AudioPreview::outputOf(const AVCaptureDevice& device) const {
    if (!session() || deviceID() != device.uniqueID()) return nullptr;
    return dataOutput();
}

Task<> AudioPreview::configure() {
    if (deviceID() == role.target()) co_return;
    co_await takeDown();
    if (session() && deviceID() == role.target()) co_return;
    if (!*surroundings.isRecording) surroundings.selection.levels->set(role.level, 0);
    surroundings.changed();
    if (*surroundings.isRecording) co_return; // a session must not appear in the middle of a take
    const auto device = surroundings.selection.availableAudioInput(role.target());
    if (!device) co_return;
    const Platform& platform = surroundings.platform;
    const bool granted =
        co_await requestAccessIfNeeded(platform.captureDevices, *platform.mainThread, AVMediaType::audio);
    // The wait may have been long: a take may have begun, the selection moved, another configure built the
    // preview.
    const std::string uniqueID = device->uniqueID();
    const bool isWanted = role.target() == uniqueID && deviceID() != uniqueID;
    if (!granted || *surroundings.isRecording || hasEnded || !isWanted) co_return;
    auto chain = makeAudioCaptureChain(*platform.captureDevices, device, role.channels(*device),
                                       surroundings.delegate, role.queue);
    if (chain) install(std::move(*chain), uniqueID);
}

void AudioPreview::install(AudioCaptureChain chain, const std::string& deviceID) {
    installed.chain = std::move(chain);
    installed.deviceID = deviceID;
    installed.configuredAt = CMTimeGetSeconds(surroundings.platform.hostClock->now());
    activity.stamp(installed.configuredAt); // gives the new session its time
    surroundings.changed();
    surroundings.sessionControl.start(session(), tasks.guarded([this] { surroundings.changed(); }));
    auto watcher = DeviceSampleRateWatcher::make(*surroundings.platform.audioHardware, deviceID);
    if (watcher) watcher->start(tasks.guarded([this] { handleFormatChanged(); }));
    installed.sampleRateWatcher = std::move(watcher);
}

Task<> AudioPreview::takeDown() {
    const auto old = session();
    if (old) co_await surroundings.sessionControl.stop(old);
    // Another configure may have built the next one meanwhile.
    if (session() == old) installed = {};
}

Task<> AudioPreview::rebuild() {
    if (*surroundings.isRecording) co_return;
    forgetDevice();
    co_await configure();
}

Task<> AudioPreview::restore() {
    if (*surroundings.isRecording || !surroundings.selection.availableAudioInput(role.target())) co_return;
    const double now = CMTimeGetSeconds(surroundings.platform.hostClock->now());
    const bool mayStillBegin =
        session() && (now - installed.configuredAt < kSecondsToBegin || session()->mayStillBegin());
    if (mayStillBegin || (session() && session()->isRunning())) co_return;
    co_await rebuild();
}

Task<> AudioPreview::end() {
    refuseMore();
    co_await takeDown();
}

void AudioPreview::handleFormatChanged() {
    if (*surroundings.isRecording) {
        surroundings.lastError.set(role.formatChanged);
        return;
    }
    forgetDevice();
    tasks.post([this] { return configure(); });
}

} // namespace vintra

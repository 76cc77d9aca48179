#include "Vintra/audio/SystemAudioRelay.h"

#include "Vintra/audio/BufferFrameSize.h"
#include "Vintra/audio/WholeHertz.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/HostClock.h"

namespace vintra {
namespace {

constexpr uint32_t lowLatencyBufferFrames = 64;
constexpr int64_t kBetweenLooksNanoseconds = 20'000'000; // readings of a rate that is to change

void stopAndDestroy(std::unique_ptr<AudioIOProc>& proc) {
    if (proc) proc->stop();
    proc.reset();
}

/// Suspends its caller until the rate is to be read again.
Task<> untilNextLook(Platform platform) {
    std::unique_ptr<DispatchTimer> timer;
    const auto begin = [&timer,
                        queue = platform.dispatchQueues->globalQueue(QualityOfService::utility)](auto done) {
        timer = queue->makeTimer({.delayNanoseconds = kBetweenLooksNanoseconds}, done);
        timer->resume();
    };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

} // namespace

SystemAudioRelay::SystemAudioRelay(Services services, AudioObjectID sourceDevice, AudioObjectID outputDevice,
                                   Settings settings)
    : services(services)
    , sourceDevice(sourceDevice)
    , outputDevice(outputDevice)
    , lowLatency(settings.lowLatency) {
    if (lowLatency) {
        restoreSourceBufferFrames = services.io.bufferFrameSize(sourceDevice).value_or(0);
        requestBufferFrameSize(services.io, lowLatencyBufferFrames, sourceDevice);
    }
    sourceBufferFrames = services.io.bufferFrameSize(sourceDevice).value_or(0);
    outputBufferFrames = services.io.bufferFrameSize(outputDevice).value_or(0);
    ring = std::make_unique<RelayRing>(
        RelayTarget::initial(sourceBufferFrames, outputBufferFrames, settings.pinnedTargetFrames));
}

SystemAudioRelay::~SystemAudioRelay() {
    stop();
}

bool SystemAudioRelay::start() {
    if (rateMismatch()) return false;
    followVolume();
    // The blocks may use the ring without keeping it: no call is under way once a proc has been stopped.
    sourceProc = services.io.createIOProc(
        sourceDevice, [to = ring.get()](AudioBufferList input, AudioBufferList) { to->consume(input); });
    if (!sourceProc) return false;
    outputProc =
        services.io.createIOProc(outputDevice, [from = ring.get()](AudioBufferList, AudioBufferList output) {
            from->produce(output);
        });
    if (!outputProc) return false;
    if (!outputProc->start() || !sourceProc->start()) return false;
    startedAt = services.wallClock.now();
    return true;
}

void SystemAudioRelay::stop() {
    ring->unprime();
    if (lowLatency && restoreSourceBufferFrames != 0) {
        requestBufferFrameSize(services.io, restoreSourceBufferFrames, sourceDevice);
        restoreSourceBufferFrames = 0;
    }
    stopAndDestroy(sourceProc);
    stopAndDestroy(outputProc);
}

void SystemAudioRelay::followVolume() const {
    const auto volume = services.hardware.outputVolume(sourceDevice);
    if (volume && !volume->empty())
        ring->setVolume(volume->front(), volume->size() > 1 ? (*volume)[1] : volume->front());
}

std::optional<std::string> SystemAudioRelay::rateMismatch() const {
    const double sourceRate = services.hardware.nominalSampleRate(sourceDevice).value_or(0);
    const double outputRate = services.hardware.nominalSampleRate(outputDevice).value_or(0);
    if (!(sourceRate > 0) || !(outputRate > 0) || sourceRate == outputRate) return std::nullopt;
    return "Vintra Audio is running at " + wholeHertz(sourceRate) + " but your output device is at " +
           wholeHertz(outputRate) + ".";
}

SystemAudioRelay::Telemetry SystemAudioRelay::telemetry() const {
    Telemetry telemetry;
    telemetry.setCounters(ring->counters());
    telemetry.destination =
        services.hardware.deviceName(outputDevice).value_or("device " + std::to_string(outputDevice));
    telemetry.lowLatency = lowLatency;
    telemetry.sourceBufferFrames = sourceBufferFrames;
    telemetry.outputBufferFrames = outputBufferFrames;
    telemetry.startedAt = startedAt;
    if (startedAt)
        telemetry.seconds = services.wallClock.now().secondsSince1970 - startedAt->secondsSince1970;
    telemetry.sampleRate = services.hardware.nominalSampleRate(sourceDevice).value_or(0);
    const auto range = bufferFrameSizeRange(services.io, sourceDevice);
    telemetry.sourceRange = range ? std::to_string(range->min) + "-" + std::to_string(range->max) : "unknown";
    return telemetry;
}

SystemAudioRelay::IOCounts SystemAudioRelay::ioCounts() const {
    const auto counters = ring->counters();
    return {counters.sourceIOCount, counters.outputIOCount};
}

Task<double> SystemAudioRelay::setSampleRate(Platform platform, std::shared_ptr<DispatchQueue> queue,
                                             double rate, AudioObjectID on, double timeout) {
    const auto current = [hardware = platform.audioHardware, on] {
        return hardware->nominalSampleRate(on).value_or(0);
    };
    const auto seconds = [clock = platform.hostClock] { return CMTimeGetSeconds(clock->now()); };
    if (!(rate > 0)) co_return current();
    if (current() == rate) co_return rate;
    const auto begin = [queue, io = platform.audioDeviceIO, rate, on](auto done) {
        queue->async([io, rate, on, done] { done(io->setNominalSampleRate(on, rate)); });
    };
    const bool isAccepted = co_await awaitCompletion<bool>(*platform.mainThread, begin);
    if (!isAccepted) co_return current();
    const double deadline = seconds() + timeout;
    while (seconds() < deadline) {
        if (current() == rate) co_return rate;
        co_await untilNextLook(platform);
    }
    co_return current();
}

int64_t SystemAudioRelay::pinnedTargetFrames(const UserDefaults& userDefaults) {
    return integerForKey(userDefaults, "RelayTargetFrames").value_or(0);
}

} // namespace vintra

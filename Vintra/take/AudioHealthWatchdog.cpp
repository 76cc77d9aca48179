#include "Vintra/take/AudioHealthWatchdog.h"

#include "Vintra/platform/FixedText.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Log.h"
#include "Vintra/take/HealthLog.h"

#include <utility>

namespace vintra {
namespace {

constexpr double kPatience = 4.0; // seconds without a buffer before a source counts as stalled
constexpr int kMostAttempts = 3;
constexpr int kStalledChecksToAct = 2; // one bad interval is forgiven

const char* yesOrNo(bool value) {
    return value ? "true" : "false";
}

} // namespace

AudioHealthWatchdog::AudioHealthWatchdog(const Surroundings& surroundings)
    : platform(surroundings.platform)
    , outputRouting(surroundings.outputRouting)
    , isRecording(surroundings.isRecording)
    , lastError(surroundings.lastError)
    , mic{.name = "mic",
          .stalledInTake =
              "Your microphone has stopped recording — everything from this point is missing from the mic "
              "track. Stop and start a new recording; the other tracks are unaffected.",
          .givenUp = "Your microphone stopped sending audio and couldn't be restarted. Check it's still "
                     "connected, then pick it again.",
          .preview = surroundings.previews.mic(),
          .activity = surroundings.samplePath.micActivity,
          .rebuild = [&previews = surroundings.previews] { return previews.rebuildMicPreview(); }}
    , daw{.name = "computer audio",
          .stalledInTake =
              "Computer audio has stopped recording — everything from this point is missing from that "
              "track. Stop and start a new recording; the other tracks are unaffected.",
          .givenUp = "Computer audio stopped arriving and couldn't be restarted. Untick Computer audio and "
                     "tick it again.",
          .preview = surroundings.previews.daw(),
          .activity = surroundings.samplePath.dawActivity,
          .rebuild = [&previews = surroundings.previews] { return previews.rebuildDawPreview(); }}
    , tasks(*platform.mainThread) {}

void AudioHealthWatchdog::check() {
    // That is told, and made up for, by others. A rebuild would fail.
    if (!platform.audioHardware->isServiceRunning()) {
        relayIOSample.reset();
        relayStalledChecks = 0;
        return;
    }
    checkRelay();
    check(mic);
    check(daw);
}

void AudioHealthWatchdog::check(Source& source) {
    if (!source.preview.session()) {
        source.attempts = 0;
        return;
    }
    const double now = CMTimeGetSeconds(platform.hostClock->now());
    const double age = now - source.activity.last();
    if (age <= kPatience) {
        // A rebuild gives its session 4 seconds. Only a buffer shows that it has helped.
        if (!source.preview.isDelivering()) return;
        source.attempts = 0;
        source.isWarnedOf = false;
        return;
    }
    if (*isRecording) {
        if (!std::exchange(source.isWarnedOf, true)) lastError.set(source.stalledInTake);
        return;
    }
    if (source.preview.session()->mayStillBegin()) return; // its device takes its time
    if (source.attempts >= kMostAttempts) return;
    const int attempt = ++source.attempts;
    log(source.name + " stalled — no buffer for " + fixedText(age, 1) + "s, rebuilding (attempt " +
        std::to_string(attempt) + ")");
    source.activity.stamp(now); // the rebuild has 4 seconds of its own
    tasks.start(recover(source, attempt));
}

Task<> AudioHealthWatchdog::recover(Source& source, int attempt) {
    co_await source.rebuild();
    const bool runs = source.preview.session() != nullptr;
    log(source.name + " rebuild attempt " + std::to_string(attempt) + " — " +
        (runs ? "session running again" : "FAILED"));
    if (!runs && attempt >= kMostAttempts) lastError.set(source.givenUp);
}

void AudioHealthWatchdog::checkRelay() {
    const auto state = outputRouting.relayState();
    if (!state) {
        relayIOSample.reset();
        relayStalledChecks = 0;
        relayRecoveryAttempts = 0;
        return;
    }
    const auto previous = std::exchange(relayIOSample, state->io);
    if (!previous) return;
    const bool sourceAdvanced = state->io.source != previous->source;
    const bool outputAdvanced = state->io.output != previous->output;
    if (!state->hasRateMismatch && sourceAdvanced && outputAdvanced) {
        relayStalledChecks = 0;
        relayRecoveryAttempts = 0;
        warnedRelayStalledWhileRecording = false;
        return;
    }
    if (++relayStalledChecks < kStalledChecksToAct) return;
    relayStalledChecks = 0;
    log(std::string("relay stalled — mismatch=") + yesOrNo(state->hasRateMismatch) +
        " sourceAdvanced=" + yesOrNo(sourceAdvanced) + " outputAdvanced=" + yesOrNo(outputAdvanced) +
        " recording=" + yesOrNo(*isRecording));
    if (*isRecording) {
        tellOfRelay(state->hasRateMismatch);
    } else if (relayRecoveryAttempts < kMostAttempts) {
        tasks.start(recoverRelay(++relayRecoveryAttempts));
    }
}

void AudioHealthWatchdog::tellOfRelay(bool hasMismatch) {
    if (std::exchange(warnedRelayStalledWhileRecording, true)) return;
    lastError.set(hasMismatch
                      ? "Your output device changed sample rate mid-recording, so computer audio may be "
                        "off-pitch from here on. Other tracks are unaffected."
                      : "Computer audio stopped reaching your output device mid-recording. The recording is "
                        "still running — restart it after this recording to fix monitoring.");
}

Task<> AudioHealthWatchdog::recoverRelay(int attempt) {
    outputRouting.stopSystemAudioRelay();
    co_await outputRouting.startSystemAudioRelayIfNeeded();
    relayIOSample.reset();
    const bool runs = outputRouting.hasSystemAudioRelay();
    log("relay rebuild attempt " + std::to_string(attempt) + " — " +
        (runs ? "relay running again" : "FAILED"));
    if (!runs && attempt >= kMostAttempts) {
        lastError.set("Computer audio stopped reaching your output device and couldn't be restarted. Check "
                      "the device in " +
                      platform.words.soundSettings + ", then untick and re-tick Computer audio.");
    }
}

void AudioHealthWatchdog::log(const std::string& text) const {
    platform.log->write(kHealthLog, LogLevel::error, text);
}

} // namespace vintra

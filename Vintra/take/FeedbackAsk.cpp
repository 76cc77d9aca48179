#include "Vintra/take/FeedbackAsk.h"

#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/WallClock.h"

#include <cstdint>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kTakesKey = "VintraTakesFinished";
constexpr const char* kAsksKey = "VintraFeedbackAsks";
constexpr const char* kLastAskedKey = "VintraFeedbackLastAsked"; // seconds since 1970
constexpr const char* kTestKey = "VintraTestFeedbackAsk";
constexpr double kShortestTake = 20.0; // seconds
constexpr int64_t kTakesBeforeAsking = 3;
constexpr int64_t kMostAsks = 2;
constexpr double kSecondsBetweenAsks = 1'209'600; // two weeks
constexpr int64_t kThanksNanoseconds = 8'000'000'000;

} // namespace

FeedbackAsk::FeedbackAsk(Platform platform, Send send)
    : platform(std::move(platform))
    , send(std::move(send)) {}

FeedbackAsk::~FeedbackAsk() = default;

void FeedbackAsk::recordingStarted() {
    dismiss();
}

void FeedbackAsk::takeFinished(double seconds, bool wentWrong) {
    UserDefaults& defaults = *platform.userDefaults;
    const bool isTest = boolForKey(defaults, kTestKey).value_or(false);
    if (!isTest && seconds < kShortestTake) return;
    defaults.set(kTakesKey, integerForKey(defaults, kTakesKey).value_or(0) + 1);
    if (wentWrong || (!isTest && !mayAsk())) return;
    defaults.set(kAsksKey, integerForKey(defaults, kAsksKey).value_or(0) + 1);
    defaults.set(kLastAskedKey, platform.wallClock->now().secondsSince1970);
    state.set(Asking{});
}

bool FeedbackAsk::mayAsk() const {
    const UserDefaults& defaults = *platform.userDefaults;
    if (integerForKey(defaults, kTakesKey).value_or(0) < kTakesBeforeAsking) return false;
    if (integerForKey(defaults, kAsksKey).value_or(0) >= kMostAsks) return false;
    const auto last = doubleForKey(defaults, kLastAskedKey);
    return !last || platform.wallClock->now().secondsSince1970 - *last >= kSecondsBetweenAsks;
}

void FeedbackAsk::sayFine() {
    if (!std::holds_alternative<Asking>(*state)) return;
    unsent = Answer::fine;
    state.set(Note{});
}

void FeedbackAsk::sayOff() {
    if (!std::holds_alternative<Asking>(*state)) return;
    send(Answer::off, "");
    acknowledge(
        "The form is open in your browser. Your diagnostics are on the clipboard too, in case it asks "
        "for them.");
}

void FeedbackAsk::sendNote() {
    flush();
    acknowledge("Vintra won't ask again for two weeks.");
}

void FeedbackAsk::dismiss() {
    flush();
    state.set(Hidden{});
}

void FeedbackAsk::flush() {
    if (const auto answer = std::exchange(unsent, std::nullopt)) {
        send(*answer, *note);
        note.set("");
    }
}

/// A later line of thanks doesn't stop the clock of an earlier one.
void FeedbackAsk::acknowledge(const std::string& text) {
    state.set(Answered{text});
    const auto place = timers.emplace(timers.end());
    *place = std::make_unique<MainThreadTimer>(*platform.dispatchQueues, *platform.mainThread,
                                               kThanksNanoseconds, [this, place] {
                                                   timers.erase(place);
                                                   if (std::holds_alternative<Answered>(*state))
                                                       state.set(Hidden{});
                                               });
}

} // namespace vintra

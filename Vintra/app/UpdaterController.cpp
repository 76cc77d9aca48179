#include "Vintra/app/UpdaterController.h"

#include "Vintra/app/VersionOrder.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/SPUStandardUserDriverDelegate.h"
#include "Vintra/platform/SPUUpdaterDelegate.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/WallClock.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace vintra {
namespace {

using Stage = UpdateSession::Stage;

constexpr const char* kUpdateLog = "updates";
constexpr const char* kLastCheckKey = "VintraLastUpdateCheck"; // seconds since 1970
constexpr double kSecondsBetweenChecks = 86'400;
constexpr int64_t kLookInterval = 3'600'000'000'000; // nanoseconds
constexpr size_t kLongestFeed = 1 << 20;             // bytes
constexpr int kFeedRedirects = 5;
constexpr double kFeedPatience = 30; // seconds

constexpr const char* kNotSetUp = "Updates aren't set up in this copy of Vintra.";

/// A user's question is answered; only what the user has begun may be in the way of another check.
bool isUnderWay(Stage stage) {
    return stage == Stage::downloading || stage == Stage::verifying || stage == Stage::awaitingTake ||
           stage == Stage::installing || stage == Stage::installed;
}

} // namespace

UpdaterController::UpdaterController(Machine machine, bool startingUpdater,
                                     SPUUpdaterDelegate& updaterDelegate,
                                     SPUStandardUserDriverDelegate& userDriverDelegate)
    : machine(std::move(machine))
    , updaterDelegate(updaterDelegate)
    , userDriver(userDriverDelegate)
    , tasks(*this->machine.platform.mainThread) {
    canCheckForUpdates.set(true);
    if (!startingUpdater) return;
    const Platform& platform = this->machine.platform;
    timer = std::make_unique<MainThreadTimer>(*platform.dispatchQueues, *platform.mainThread, kLookInterval,
                                              [this] { lookIfDue(); });
    platform.mainThread->post(tasks.guarded([this] { lookIfDue(); }));
}

UpdaterController::~UpdaterController() {
    if (transfer) transfer->cancel();
}

/// By the wall clock, which goes on while the computer is off. One that was set back doesn't put off the check.
void UpdaterController::lookIfDue() {
    const Platform& platform = machine.platform;
    const Stage stage = session->stage;
    if (session->isShown || isUnderWay(stage) || stage == Stage::checking || isTakeRunning()) return;
    const double now = platform.wallClock->now().secondsSince1970;
    const auto last = doubleForKey(*platform.userDefaults, kLastCheckKey);
    if (last && now >= *last && now - *last < kSecondsBetweenChecks) return;
    begin(false);
}

void UpdaterController::checkForUpdates() {
    const Stage stage = session->stage;
    if (stage == Stage::found && !session->isShown) {
        session.update([](UpdateSession& changed) { changed.isShown = true; });
        userDriver.standardUserDriverDidReceiveUserAttentionForUpdate(session->item);
    } else if (isUnderWay(stage) || stage == Stage::found || stage == Stage::checking) {
        isUserInitiated = true;
        session.update([](UpdateSession& changed) { changed.isShown = true; });
    } else {
        begin(true);
    }
}

void UpdaterController::begin(bool userInitiated) {
    work.cancelAll();
    isUserInitiated = userInitiated;
    canCheckForUpdates.set(false);
    session.set({.stage = Stage::checking, .isShown = userInitiated, .item = {}, .sentence = {}});
    work.start(check());
}

void UpdaterController::setStage(Stage stage) {
    session.update([stage](UpdateSession& changed) { changed.stage = stage; });
}

/// What nobody has asked for isn't told, but logged.
void UpdaterController::finish(Stage stage, const std::string& sentence) {
    if (!sentence.empty()) machine.platform.log->write(kUpdateLog, LogLevel::info, sentence);
    const bool isTold = session->isShown;
    session.update([&](UpdateSession& changed) {
        changed.stage = isTold ? stage : Stage::idle;
        changed.sentence = sentence;
    });
    canCheckForUpdates.set(true);
    userDriver.standardUserDriverWillFinishUpdateSession();
}

Task<> UpdaterController::check() {
    const Platform& platform = machine.platform;
    auto ask = [this](auto done) { machine.installation.checkOwnership(done); };
    const auto refusal = co_await awaitCompletion<UpdateInstallation::Outcome>(*platform.mainThread, ask);
    if (refusal) {
        finish(Stage::problem, *refusal);
        co_return;
    }
    const auto other = updaterDelegate.feedURLStringForUpdater(*this);
    const std::string feed = other ? *other : machine.installation.feedURL();
    if (feed.empty()) {
        finish(Stage::problem, kNotSetUp);
        co_return;
    }
    auto load = [this, feed](auto done) {
        transfer = machine.web.load({.address = feed,
                                     .timeoutSeconds = kFeedPatience,
                                     .redirects = kFeedRedirects,
                                     .longestBody = kLongestFeed},
                                    done);
    };
    const auto outcome =
        co_await awaitCompletion<std::variant<WebResponse, SystemError>>(*platform.mainThread, load);
    transfer = nullptr;
    platform.userDefaults->set(kLastCheckKey, platform.wallClock->now().secondsSince1970);
    if (const auto* error = std::get_if<SystemError>(&outcome)) {
        finish(Stage::problem, error->localizedDescription());
        co_return;
    }
    const auto& response = std::get<WebResponse>(outcome);
    if (response.status != 200) {
        finish(Stage::problem, "The server answered with the error " + std::to_string(response.status) +
                                   "; try again later.");
        co_return;
    }
    try {
        judge(machine.installation.itemsOfFeed(response.body));
    } catch (const SystemError& error) {
        finish(Stage::problem, error.localizedDescription());
    }
}

bool UpdaterController::isNewer(const SUAppcastItem& item) const {
    const MachineFacts& facts = machine.platform.facts;
    const auto order = compareVersions(item.displayVersionString, facts.appVersion);
    return order != 0 ? order > 0 : compareVersions(item.versionString, facts.buildVersion) > 0;
}

void UpdaterController::judge(const std::vector<SUAppcastItem>& items) {
    std::optional<SUAppcastItem> best;
    std::string tooNew; // what the newest version needs
    for (const SUAppcastItem& item : items) {
        if (!isNewer(item)) continue;
        if (!machine.installation.satisfies(item.minimumSystemVersion)) {
            tooNew = "Vintra " + versionTextOf(item) + " needs " + machine.platform.words.operatingSystem +
                     " " + item.minimumSystemVersion + " or later.";
            continue;
        }
        const auto isLater = [&](const SUAppcastItem& than) {
            const auto order = compareVersions(item.displayVersionString, than.displayVersionString);
            return order != 0 ? order > 0 : compareVersions(item.versionString, than.versionString) > 0;
        };
        if (!best || isLater(*best)) best = item;
    }
    if (best) {
        show(*best);
    } else {
        finish(Stage::upToDate, tooNew);
    }
}

void UpdaterController::show(const SUAppcastItem& item) {
    const bool isByWindow = session->isShown || isUserInitiated ||
                            !userDriver.supportsGentleScheduledUpdateReminders() ||
                            userDriver.standardUserDriverShouldHandleShowingScheduledUpdate(item, false);
    userDriver.standardUserDriverWillHandleShowingUpdate(
        isByWindow, item,
        {.stage = SPUUserUpdateState::Stage::notDownloaded, .userInitiated = isUserInitiated});
    session.set({.stage = Stage::found, .isShown = isByWindow, .item = item, .sentence = {}});
    canCheckForUpdates.set(true);
    if (isByWindow) userDriver.standardUserDriverDidReceiveUserAttentionForUpdate(item);
}

bool UpdaterController::isTakeRunning() const {
    const auto held = recorder.lock();
    return held && (*held->isRecording || *held->isBusy);
}

} // namespace vintra

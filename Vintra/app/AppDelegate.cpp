#include "Vintra/app/AppDelegate.h"

#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

namespace vintra {
namespace {

constexpr const char* kRunMark = "vintraWasRunning";

} // namespace

AppDelegate::AppDelegate(const Platform& platform, ProgramWindows& windows)
    : platform(platform)
    , windows(windows)
    , tasks(*platform.mainThread) {}

void AppDelegate::quit() {
    const auto manager = recorder.lock();
    const bool isIdle = !manager || (!*manager->isRecording && !*manager->isBusy);
    if (*isQuitting || isIdle) {
        windows.terminate();
        return;
    }
    isQuitting.set(true);
    tasks.start(endInOrder(manager));
}

/// A start that is under way is ended too: it may have become a take by then.
Task<> AppDelegate::endInOrder(std::shared_ptr<ScreenRecorderManager> manager) {
    if (!*manager->isRecording) manager->cancelStart();
    co_await awaitIdle(*manager);
    if (*manager->isRecording) co_await manager->stopRecording();
    windows.terminate();
}

Task<> AppDelegate::awaitIdle(ScreenRecorderManager& manager) {
    busyObservation = manager.isBusy.observe([this](bool isBusy) {
        if (isBusy) return;
        for (const auto& goOn : std::exchange(awaitingIdle, {}))
            goOn();
    });
    while (*manager.isBusy) {
        const auto begin = [this](auto done) { awaitingIdle.push_back(done); };
        co_await awaitCompletion<void>(*platform.mainThread, begin);
    }
}

void AppDelegate::applicationWillTerminate() {
    if (const auto manager = recorder.lock()) manager->stopSystemAudioRelay();
    platform.userDefaults->set(kRunMark, false);
}

} // namespace vintra

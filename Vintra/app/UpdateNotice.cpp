#include "Vintra/app/UpdateNotice.h"

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/UserDefaults.h"

#include <cassert>
#include <utility>

namespace vintra {

UpdateNotice::UpdateNotice(Platform platform)
    : platform(std::move(platform)) {}

void UpdateNotice::showUpdate() const {
    if (const auto held = controller.lock()) held->checkForUpdates();
}

bool UpdateNotice::standardUserDriverShouldHandleShowingScheduledUpdate(const SUAppcastItem&, bool) {
    assertMainThread();
    return false;
}

void UpdateNotice::standardUserDriverWillHandleShowingUpdate(bool handleShowingUpdate,
                                                             const SUAppcastItem& forUpdate,
                                                             const SPUUserUpdateState&) {
    assertMainThread();
    if (!handleShowingUpdate) waiting.set(versionTextOf(forUpdate));
}

void UpdateNotice::standardUserDriverDidReceiveUserAttentionForUpdate(const SUAppcastItem&) {
    assertMainThread();
    waiting.set(std::nullopt);
}

void UpdateNotice::standardUserDriverWillFinishUpdateSession() {
    assertMainThread();
    waiting.set(std::nullopt);
}

std::optional<std::string> UpdateNotice::feedURLStringForUpdater(const SPUUpdater&) const {
    assertMainThread();
    return stringForKey(*platform.userDefaults, "VintraTestFeedURL");
}

void UpdateNotice::assertMainThread() const {
    assert(platform.mainThread->isCurrent());
}

} // namespace vintra

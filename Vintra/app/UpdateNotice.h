#pragma once

#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/SPUStandardUpdaterController.h"
#include "Vintra/platform/SPUStandardUserDriverDelegate.h"
#include "Vintra/platform/SPUUpdaterDelegate.h"

#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// A new version that waits to be installed, as the main window and the menu bar item tell of it: quietly, since somebody
/// may be recording. Owned by the program. Main thread.
class UpdateNotice final : public SPUUpdaterDelegate, public SPUStandardUserDriverDelegate {
public:
    explicit UpdateNotice(Platform platform);

    Published<std::optional<std::string>> waiting; ///< its version
    std::weak_ptr<SPUStandardUpdaterController> controller;

    /// Shows the update with what is new in it.
    void showUpdate() const;

    bool supportsGentleScheduledUpdateReminders() const override { return true; }
    bool standardUserDriverShouldHandleShowingScheduledUpdate(const SUAppcastItem& update,
                                                              bool andInImmediateFocus) override;
    void standardUserDriverWillHandleShowingUpdate(bool handleShowingUpdate, const SUAppcastItem& forUpdate,
                                                   const SPUUserUpdateState& state) override;
    void standardUserDriverDidReceiveUserAttentionForUpdate(const SUAppcastItem& update) override;
    void standardUserDriverWillFinishUpdateSession() override;
    std::optional<std::string> feedURLStringForUpdater(const SPUUpdater& updater) const override;

private:
    void assertMainThread() const;

    const Platform platform;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/SPUUserUpdateState.h"
#include "Vintra/platform/SUAppcastItem.h"

namespace vintra {

/// Lets the program tell of updates in its own way, where a window that comes up by itself would disturb. Main thread.
class SPUStandardUserDriverDelegate {
public:
    virtual ~SPUStandardUserDriverDelegate() = default;
    /// Whether the program tells of an update that was found without the user's asking.
    virtual bool supportsGentleScheduledUpdateReminders() const = 0;
    /// Whether the updater shows such an update in its own window.
    virtual bool standardUserDriverShouldHandleShowingScheduledUpdate(const SUAppcastItem& update,
                                                                      bool andInImmediateFocus) = 0;
    /// An update is about to be shown: by the updater's window, or else by the program.
    virtual void standardUserDriverWillHandleShowingUpdate(bool handleShowingUpdate,
                                                           const SUAppcastItem& forUpdate,
                                                           const SPUUserUpdateState& state) = 0;
    /// The user has seen it.
    virtual void standardUserDriverDidReceiveUserAttentionForUpdate(const SUAppcastItem& update) = 0;
    /// Nothing more comes of it for now.
    virtual void standardUserDriverWillFinishUpdateSession() = 0;
};

} // namespace vintra

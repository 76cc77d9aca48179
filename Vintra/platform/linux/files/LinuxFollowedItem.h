#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <memory>
#include <optional>
#include <sys/types.h>

namespace vintra {

/// Holds the item open without a right to its bytes, so that the kernel tells its path. One thread at a time.
class LinuxFollowedItem : public FollowedItem {
public:
    /// Null if nothing is there or no descriptor is left.
    static std::unique_ptr<LinuxFollowedItem> find(const URL& at);
    std::optional<URL> currentURL() const override;

private:
    LinuxFollowedItem(URL at, FileDescriptor descriptor, dev_t device, ino_t node);
    bool liesAt(const URL& at) const;

    const URL foundAt;
    const FileDescriptor descriptor;
    const dev_t device;
    const ino_t node;
};

} // namespace vintra

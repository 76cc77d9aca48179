#pragma once

#include "Vintra/platform/URL.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace vintra {

/// Tells disks inside the machine from those outside, by what the kernel says of the device that holds a
/// path: removable media and devices behind USB or FireWire are outside; a device put together from several
/// is inside if all are. Any thread.
class VolumeInspector {
public:
    /// The roots are for tests.
    explicit VolumeInspector(std::string sysRoot = "/sys", std::string mountInfo = "/proc/self/mountinfo")
        : sysRoot(std::move(sysRoot))
        , mountInfo(std::move(mountInfo)) {}

    /// Nothing for a place without a block device behind it (network, memory) or if it can't be read. A path
    /// that doesn't exist yet lies where the nearest folder above it does.
    std::optional<bool> isInternal(const URL& at) const;

    /// The same for a device by its numbers.
    std::optional<bool> deviceIsInternal(uint32_t major, uint32_t minor) const;

private:
    std::optional<std::string> sourceOfMount(uint32_t major, uint32_t minor) const;
    std::optional<bool> folderIsInternal(const std::string& deviceFolder, int depth) const;

    const std::string sysRoot;
    const std::string mountInfo;
};

} // namespace vintra

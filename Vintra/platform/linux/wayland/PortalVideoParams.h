#pragma once

#include "Vintra/platform/linux/wayland/PortalFrame.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

struct spa_pod;

namespace vintra {

/// What a desktop's video stream is asked for, in PipeWire's own form. The memory of the parameters is the
/// object's. One thread.
class PortalVideoParams {
public:
    /// The pixel formats that can be read, of any size and any rate.
    static PortalVideoParams formats();
    /// The buffers and what they are to tell, once the format is agreed.
    static PortalVideoParams buffers(const PortalVideoFormat& format);

    /// Valid as long as the object.
    std::vector<const spa_pod*> pods() const;

private:
    std::array<uint8_t, 4096> memory{};
    std::vector<uint32_t> offsets;
};

/// Nothing if the parameter isn't one of the formats asked for.
std::optional<PortalVideoFormat> readPortalVideoFormat(const spa_pod* param);

} // namespace vintra

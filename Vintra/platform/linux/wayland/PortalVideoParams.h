#pragma once

#include "Vintra/platform/linux/wayland/PortalFrame.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct spa_pod;

namespace vintra {

/// What a desktop's video stream is asked for, in PipeWire's own form. The memory of the parameters is the
/// object's. One thread.
class PortalVideoParams {
public:
    /// The pixel formats that can be read, of any size and any rate: in plain memory, which needs the least, and then
    /// in what is offered of the graphics card's.
    static PortalVideoParams formats(std::span<const DmaBufOffer> offers);
    /// The buffers and what they are to tell, once the format is agreed.
    static PortalVideoParams buffers(const PortalVideoFormat& format);

    /// Valid as long as the object.
    std::vector<const spa_pod*> pods() const;

private:
    std::vector<uint8_t> memory;
    std::vector<uint32_t> offsets;
};

/// The kernel's numbers of the pixel formats that can be read.
std::vector<uint32_t> readableDmaBufFormats();
/// True of a format whose modifier is still a choice: the desktop tries which it can make, and then says it.
bool isModifierUndecided(const spa_pod* param);
/// Nothing if the parameter isn't one of the formats asked for.
std::optional<PortalVideoFormat> readPortalVideoFormat(const spa_pod* param);

} // namespace vintra

#pragma once

#include "Vintra/platform/linux/wayland/PortalBus.h"
#include "Vintra/platform/linux/wayland/PortalScreenCast.h"
#include "Vintra/platform/linux/wayland/PortalVideoStream.h"

#include <memory>

namespace vintra {

/// What the desktop lets be shared, from its grant on: it ends with this. One thread at a time; it is handed on as its
/// parts are.
struct PortalSharing {
    // In this order: memory that the desktop shares goes before its session.
    std::unique_ptr<PortalBus> bus;
    std::unique_ptr<PortalScreenCast> session;
    std::unique_ptr<PortalVideoStream> stream;
};

} // namespace vintra

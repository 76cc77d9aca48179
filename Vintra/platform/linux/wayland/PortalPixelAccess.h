#pragma once

#include "Vintra/platform/SystemError.h"

#include <optional>

namespace vintra {

/// How the processor comes to the pixels of a buffer that lies in memory of the graphics card. Owned by whoever knows
/// the buffer, on the thread of its stream.
class PortalPixelAccess {
public:
    PortalPixelAccess() = default;
    virtual ~PortalPixelAccess() = default;
    PortalPixelAccess(const PortalPixelAccess&) = delete;
    PortalPixelAccess& operator=(const PortalPixelAccess&) = delete;

    /// Before pixels are read; why they can't be. Without an error `end` follows.
    virtual std::optional<SystemError> begin() = 0;
    virtual void end() = 0;
    /// No cache may lie before the memory: every read may go to the card, so each byte is to be read once, in order.
    virtual bool isUncached() const = 0;
};

/// One reading of pixels; `access` is null for plain memory.
class PortalPixelReading {
public:
    explicit PortalPixelReading(PortalPixelAccess* access)
        : access(access) {
        if (access) problem_ = access->begin();
    }
    ~PortalPixelReading() {
        if (access && !problem_) access->end();
    }
    PortalPixelReading(const PortalPixelReading&) = delete;
    PortalPixelReading& operator=(const PortalPixelReading&) = delete;

    /// Why nothing may be read.
    const std::optional<SystemError>& problem() const { return problem_; }

private:
    PortalPixelAccess* const access;
    std::optional<SystemError> problem_;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/UUID.h"

#include <cstdint>

namespace vintra {

/// Facts about this process. Any thread.
class ProcessInfo {
public:
    virtual ~ProcessInfo() = default;
    virtual int32_t processIdentifier() const = 0;
    /// A fresh random identity.
    virtual UUID makeUUID() = 0;
};

} // namespace vintra

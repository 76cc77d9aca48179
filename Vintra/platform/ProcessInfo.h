#pragma once

#include "Vintra/platform/UUID.h"

#include <cstdint>

namespace vintra {

/// Facts about this process and what it runs on. Any thread.
class ProcessInfo {
public:
    virtual ~ProcessInfo() = default;
    virtual int32_t processIdentifier() const = 0;
    /// Processors that this process may run on, at least 1.
    virtual int activeProcessorCount() const = 0;
    /// A fresh random identity.
    virtual UUID makeUUID() = 0;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/ProcessInfo.h"

namespace vintra {

/// The process id, the processors that the kernel lets the process run on, and random identities from it. Any
/// thread.
class LinuxProcessInfo : public ProcessInfo {
public:
    int32_t processIdentifier() const override;
    int activeProcessorCount() const override;
    /// Version 4, variant 1.
    UUID makeUUID() override;
};

} // namespace vintra

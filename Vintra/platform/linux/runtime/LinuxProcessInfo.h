#pragma once

#include "Vintra/platform/ProcessInfo.h"

namespace vintra {

/// The process id, and random identities from the kernel. Any thread.
class LinuxProcessInfo : public ProcessInfo {
public:
    int32_t processIdentifier() const override;
    /// Version 4, variant 1.
    UUID makeUUID() override;
};

} // namespace vintra

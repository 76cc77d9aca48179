#pragma once

#include "Vintra/platform/ProcessInfo.h"

#include <atomic>
#include <cstdint>

namespace vintra {

/// A process whose identities are the same in every run. Any thread.
class SimulatedProcessInfo : public ProcessInfo {
public:
    int32_t processIdentifier() const override { return identifier; }
    int activeProcessorCount() const override { return processors; }
    /// The n-th call gives the n-th UUID of a fixed sequence.
    UUID makeUUID() override;

    int32_t identifier = 4242; ///< this program's own
    int processors = 8;

private:
    std::atomic<uint64_t> made{0};
};

} // namespace vintra

#pragma once

#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <string>

namespace vintra {

/// The right to choose where the sound of the session goes: of its programs one at a time has it, and it ends
/// with the process, whatever ends that. Where there is no place for the claim everyone has it. Main thread.
class SoundRoutingClaim {
public:
    /// The place of this session's sound server.
    static std::string standardPath();
    explicit SoundRoutingClaim(std::string path);

    /// Takes it, waiting for up to so many milliseconds while another process has it. False if that one keeps
    /// it.
    bool take(int waitMilliseconds);
    void release() { held.reset(); }

private:
    const std::string path;
    FileDescriptor held;
};

} // namespace vintra

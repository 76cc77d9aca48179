#pragma once

#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <string>

namespace vintra {

/// The right to choose where the session's sound goes. One program at a time has it. It ends with the process, also
/// with one that is killed. If there is no folder for the claim's file, every program gets it. Main thread.
class SoundRoutingClaim {
public:
    /// Beside the socket of this session's sound server.
    static std::string standardPath();
    explicit SoundRoutingClaim(std::string path);

    /// Takes the claim. Waits for up to this number of milliseconds while another process has it; false if that
    /// process still has it then.
    bool take(int waitMilliseconds);
    void release() { held.reset(); }

private:
    const std::string path;
    FileDescriptor held;
};

} // namespace vintra

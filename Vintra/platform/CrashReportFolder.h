#pragma once

#include "Vintra/platform/URL.h"

#include <functional>
#include <string>

namespace vintra {

/// Where this machine keeps the reports of programs that crashed. A value.
struct CrashReportFolder {
    URL folder;                        ///< empty where there is none; it need not exist
    std::string pathExtension = "ips"; ///< of a report
    /// Brings what else the system has kept of crashes into the folder, and waits for that, a few seconds at most;
    /// empty where there is nothing of the kind. Not on the main thread.
    std::function<void()> gather{};
};

} // namespace vintra

#pragma once

#include "Vintra/platform/URL.h"

#include <string>

namespace vintra {

/// Where this machine keeps the reports of programs that crashed. A value.
struct CrashReportFolder {
    URL folder;                        ///< empty where there is none; it need not exist
    std::string pathExtension = "ips"; ///< of a report
};

} // namespace vintra

#pragma once

#include <string>

namespace vintra {

/// What the report of the setup says of the program and of the machine that it runs on. A value.
struct MachineFacts {
    std::string appVersion = "0";       ///< "1.2.3"
    std::string buildVersion = "0";     ///< counts the builds of a version
    std::string operatingSystemVersion; ///< "15.3.1"; empty if unknown
    std::string hardwareModel = "unknown";
};

} // namespace vintra

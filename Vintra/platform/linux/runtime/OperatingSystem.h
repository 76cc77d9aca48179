#pragma once

#include <string>

namespace vintra {

/// What the distribution calls itself.
struct OperatingSystem {
    std::string name = "Linux"; ///< "Debian GNU/Linux"
    std::string version;        ///< "12"; empty where there are no versions
};

/// Of this machine, as os-release(5) says. Reads a file. Any thread.
OperatingSystem operatingSystem();
/// Of the text of such a file: lines of KEY=value, whose value may be quoted as a shell does. A line that isn't
/// one is left out.
OperatingSystem operatingSystemOfText(const std::string& text);

/// The maker's name and model of this machine, "unknown" if they can't be read. Reads files. Any thread.
std::string hardwareModel();

} // namespace vintra

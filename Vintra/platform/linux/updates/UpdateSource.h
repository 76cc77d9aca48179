#pragma once

#include <string>

namespace vintra {

/// Where updates of this copy come from. A value.
struct UpdateSource {
    std::string feedURL;
    std::string publicKey; ///< Ed25519, 32 bytes in Base64; empty: nothing is ever taken for an update
    bool isLeftToDistribution = false;
    std::string packageName = "vintra";
    std::string programPath = "/usr/bin/vintra"; ///< of the copy that the package installs

    /// As the build was told.
    static UpdateSource builtIn();
};

} // namespace vintra

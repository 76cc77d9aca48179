#pragma once

#include "Vintra/platform/URL.h"

#include <optional>
#include <string>

namespace vintra {

/// The other applications of this machine. Main thread.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// Where the application is installed; nothing if it isn't.
    virtual std::optional<URL> urlForApplication(const std::string& withBundleIdentifier) const = 0;
};

} // namespace vintra

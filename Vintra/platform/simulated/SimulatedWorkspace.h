#pragma once

#include "Vintra/platform/Workspace.h"

#include <map>

namespace vintra {

/// A machine on which exactly the applications in `installed` are installed. Main thread.
class SimulatedWorkspace : public Workspace {
public:
    std::map<std::string, URL> installed; ///< by bundle identifier
    mutable int questions = 0;            ///< how often an application was asked for

    std::optional<URL> urlForApplication(const std::string& withBundleIdentifier) const override {
        ++questions;
        const auto found = installed.find(withBundleIdentifier);
        return found == installed.end() ? std::nullopt : std::optional(found->second);
    }
};

} // namespace vintra

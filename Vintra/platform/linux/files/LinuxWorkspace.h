#pragma once

#include "Vintra/platform/Workspace.h"

#include <optional>
#include <vector>

namespace vintra {

/// Finds applications where they install themselves on Linux. Of those that have a bundle identifier that is
/// DaVinci Resolve alone: in /opt/resolve, or wherever its entry in the applications menu says. Final Cut and
/// Premiere are never installed. Main thread.
class LinuxWorkspace : public Workspace {
public:
    /// The machine as it is: the root, and the menu folders of the XDG variables.
    LinuxWorkspace();
    /// Another root and other menu folders, best first.
    LinuxWorkspace(URL root, std::vector<URL> menuFolders);

    std::optional<URL> urlForApplication(const std::string& withBundleIdentifier) const override;

private:
    std::optional<URL> resolve() const;

    const URL root;
    const std::vector<URL> menuFolders;
};

} // namespace vintra

#pragma once

#include <optional>
#include <string>

namespace vintra {

class SPUUpdater;

/// What an updater asks the program. Main thread.
class SPUUpdaterDelegate {
public:
    virtual ~SPUUpdaterDelegate() = default;
    /// The feed to read; nothing for the one that was built in. Asked before each check.
    virtual std::optional<std::string> feedURLStringForUpdater(const SPUUpdater& updater) const = 0;
};

} // namespace vintra

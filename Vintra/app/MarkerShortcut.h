#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/platform/GlobalHotKey.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Published.h"

#include <memory>
#include <string>

namespace vintra {

/// The key that sets a marker in the running take, whatever program is in front. It is taken for as long as a take
/// runs. Owned by the program. Main thread.
class MarkerShortcut {
public:
    static constexpr KeyCombination kKeys{.key = 'M', .control = true, .alt = true};

    /// `hotKeys` outlives this.
    MarkerShortcut(const AppSurroundings& surroundings, GlobalHotKeys& hotKeys);

    /// Whether the key works now.
    bool isRegistered() const { return markerShortcut != nullptr; }
    /// What the window says of the key where it works.
    static std::string usualHelp();
    /// What the window says of it now: that, or the key that the user has given it in the desktop's own settings, or why the key doesn't work here and what to do instead.
    Published<std::string> note;

private:
    void followTake();
    void describe();
    std::string help() const;

    const AppSurroundings surroundings;
    GlobalHotKeys& hotKeys;
    std::unique_ptr<GlobalHotKey> markerShortcut;
    Observation observation;
    Observation problems;
    Observation choices;
};

} // namespace vintra

#pragma once

#include "Vintra/app/Refresher.h"
#include "Vintra/app/UpdateSession.h"
#include "Vintra/platform/MachineFacts.h"
#include "Vintra/platform/Published.h"

#include <cstddef>
#include <string>
#include <vector>

namespace vintra {

class UpdaterController;

/// The window that shows an update and what becomes of it. Owned by the program. Main thread.
class UpdateWindow {
public:
    enum class Progress { none, indeterminate, fraction };
    struct State {
        bool isShown = false;
        std::string title;
        std::string text;
        std::string releaseNotes; ///< plain text; empty: there is no field for it
        Progress progress = Progress::none;
        double fraction = 0;                ///< 0 to 1, of `Progress::fraction`
        std::vector<std::string> buttons{}; ///< the default one first
        bool operator==(const State&) const = default;
    };
    static constexpr const char* kTitle = "Software Update"; ///< of the window

    /// The controller outlives this.
    UpdateWindow(MainThread& mainThread, MachineFacts facts, UpdaterController& controller);

    Published<State> state;

    void press(size_t button);
    /// The window's own close button.
    void close();

private:
    State currentState() const;

    const MachineFacts facts;
    UpdaterController& controller;
    Refresher refresher;
};

} // namespace vintra

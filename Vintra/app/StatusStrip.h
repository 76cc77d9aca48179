#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/DiagnosticsSharing.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/platform/Published.h"

#include <optional>
#include <string>

namespace vintra {

/// The line that says how the recorder stands, and becomes a card where there is something to do about it. Owned by
/// `ContentView`. Main thread.
class StatusStrip {
public:
    struct State {
        std::string message;
        std::optional<std::string> error; ///< under the message; the strip is a card while there is one
        std::string copyTitle;
        bool operator==(const State&) const = default;
        bool isCard() const { return error.has_value(); }
    };
    static constexpr const char* kCopyHelp =
        "Copy this message and your setup, ready to paste into the bug form";

    StatusStrip(const AppSurroundings& surroundings, DiagnosticsSharing& diagnostics);

    Published<State> state;

    void copyDiagnostics() { diagnostics.copyDiagnostics(); }

private:
    State currentState() const;

    const AppSurroundings surroundings;
    DiagnosticsSharing& diagnostics;
    Refresher refresher;
};

} // namespace vintra

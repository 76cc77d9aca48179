#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Published.h"
#include "Vintra/take/BetaFeedback.h"

#include <memory>
#include <string>

namespace vintra {

/// Hands the report of the setup to the user, and opens the form that it is for. Owned by `ContentView`. Main thread.
class DiagnosticsSharing {
public:
    /// `formURL` as `BetaFeedback` has it.
    explicit DiagnosticsSharing(const AppSurroundings& surroundings,
                                std::string_view formURL = BetaFeedback::formURL);

    Published<bool> diagnosticsCopied{false}; ///< for a short while after each copying

    void copyDiagnostics();
    /// What "Report a bug" does.
    void openBugReport();
    /// What the crash card's "Send report" does.
    void sendCrashReport();
    /// What "Something was off" does.
    void reportAfterTake();

private:
    bool openForm(BetaFeedback::Route from);

    const AppSurroundings surroundings;
    const std::string formURL;
    std::unique_ptr<MainThreadTimer> timer;
};

} // namespace vintra

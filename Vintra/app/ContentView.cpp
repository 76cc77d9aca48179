#include "Vintra/app/ContentView.h"

namespace vintra {

ContentView::ContentView(const AppSurroundings& surroundings, std::string_view bugReportFormURL)
    : diagnostics(surroundings, bugReportFormURL)
    , folder(surroundings)
    , take(surroundings, folder)
    , statusStrip(surroundings, diagnostics)
    , cards(surroundings, diagnostics)
    , tracksSection(surroundings)
    , outputSection(surroundings, folder, take)
    , statusIndicator(surroundings, StatusIndicator::Idle::armedTracks)
    , refresher(*surroundings.platform.mainThread,
                [this] { publish(bugButtonTitle, currentBugButtonTitle()); }) {
    refresher.follow(diagnostics.diagnosticsCopied);
    bugButtonTitle.set(currentBugButtonTitle());
}

std::string ContentView::currentBugButtonTitle() const {
    return *diagnostics.diagnosticsCopied ? "Copied — paste into the form" : "Report a bug";
}

} // namespace vintra

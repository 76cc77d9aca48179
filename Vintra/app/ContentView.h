#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/Cards.h"
#include "Vintra/app/DiagnosticsSharing.h"
#include "Vintra/app/OutputFolderSetting.h"
#include "Vintra/app/OutputSection.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/app/StatusIndicator.h"
#include "Vintra/app/StatusStrip.h"
#include "Vintra/app/TakeControl.h"
#include "Vintra/app/TracksSection.h"
#include "Vintra/platform/Published.h"

#include <string>
#include <string_view>

namespace vintra {

/// The main window without its looks: what each of its sections shows and does. It holds no state of a take, so a window
/// that is closed and opened again shows the take that runs. Owned by the program, which outlives its windows. Main
/// thread.
class ContentView {
public:
    static constexpr const char* kLogoImage = "vintra-logo-transparent";
    static constexpr const char* kTitle = "VINTRA Recorder";
    static constexpr const char* kSubtitle = "Multitrack capture, recorded non-destructively.";
    static constexpr const char* kBugImage = "ladybug";

    explicit ContentView(const AppSurroundings& surroundings,
                         std::string_view bugReportFormURL = BetaFeedback::formURL);

    DiagnosticsSharing diagnostics;
    OutputFolderSetting folder;
    TakeControl take;

    // From top to bottom.

    Published<std::string> bugButtonTitle;
    StatusStrip statusStrip;
    Cards cards;
    TracksSection tracksSection;
    OutputSection outputSection;
    StatusIndicator statusIndicator;

    std::string footerButtonTitle() const { return take.footerButtonTitle(); }
    void toggleRecording() { take.toggleRecording(); }
    void chooseOutputFolder() { folder.chooseOutputFolder(); }
    void copyDiagnostics() { diagnostics.copyDiagnostics(); }
    void openBugReport() { diagnostics.openBugReport(); }
    void reportAfterTake() { diagnostics.reportAfterTake(); }

private:
    std::string currentBugButtonTitle() const;

    Refresher refresher;
};

} // namespace vintra

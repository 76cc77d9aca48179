#include "Vintra/app/DiagnosticsSharing.h"

#include "Vintra/app/Refresher.h"
#include "Vintra/platform/Desktop.h"
#include "Vintra/take/FeedbackAsk.h"
#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {
namespace {

constexpr int64_t kCopiedNanoseconds = 4'000'000'000; // long enough to read it
constexpr const char* kNoForm =
    "Bug report form isn't set up yet — set BetaFeedback.formURL in BetaFeedback before sending this build out. "
    "Diagnostics were copied to the clipboard.";

} // namespace

DiagnosticsSharing::DiagnosticsSharing(const AppSurroundings& surroundings, std::string_view formURL)
    : surroundings(surroundings)
    , formURL(formURL) {}

void DiagnosticsSharing::copyDiagnostics() {
    surroundings.desktop.copyToPasteboard(surroundings.recorder.crashReportForSharing());
    publish(diagnosticsCopied, true);
    timer = std::make_unique<MainThreadTimer>(*surroundings.platform.dispatchQueues,
                                              *surroundings.platform.mainThread, kCopiedNanoseconds, [this] {
                                                  timer = nullptr;
                                                  diagnosticsCopied.set(false);
                                              });
}

bool DiagnosticsSharing::openForm(BetaFeedback::Route from) {
    const auto address = BetaFeedback::reportURL(from, surroundings.platform.facts, formURL);
    if (address) surroundings.desktop.openAddress(*address);
    return address.has_value();
}

void DiagnosticsSharing::openBugReport() {
    copyDiagnostics();
    if (!openForm(BetaFeedback::Route::button)) surroundings.recorder.statusMessage.set(kNoForm);
}

void DiagnosticsSharing::sendCrashReport() {
    surroundings.desktop.copyToPasteboard(surroundings.recorder.crashReportForSharing());
    surroundings.recorder.crashReportCopied.set(true);
    if (!openForm(BetaFeedback::Route::crash)) surroundings.recorder.statusMessage.set(kNoForm);
}

void DiagnosticsSharing::reportAfterTake() {
    copyDiagnostics();
    openForm(BetaFeedback::Route::afterTake);
    surroundings.feedbackAsk.sayOff();
}

} // namespace vintra

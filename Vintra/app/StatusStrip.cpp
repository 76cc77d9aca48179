#include "Vintra/app/StatusStrip.h"

#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {

StatusStrip::StatusStrip(const AppSurroundings& surroundings, DiagnosticsSharing& diagnostics)
    : surroundings(surroundings)
    , diagnostics(diagnostics)
    , refresher(*surroundings.platform.mainThread, [this] { publish(state, currentState()); }) {
    refresher.follow(surroundings.recorder.statusMessage, surroundings.recorder.lastError,
                     diagnostics.diagnosticsCopied);
    state.set(currentState());
}

StatusStrip::State StatusStrip::currentState() const {
    const auto& error = *surroundings.recorder.lastError;
    return {.message = *surroundings.recorder.statusMessage,
            .error = error && !error->empty() ? error : std::nullopt,
            .copyTitle =
                *diagnostics.diagnosticsCopied ? "Copied — paste into the bug form" : "Copy diagnostics"};
}

} // namespace vintra

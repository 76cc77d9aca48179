#pragma once

#include "Vintra/audio/AudioSelection.h"
#include "Vintra/audio/OutputRouting.h"
#include "Vintra/capturearea/ScreenSelection.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/take/TakeStatus.h"
#include "Vintra/video/CameraSelection.h"
#include "Vintra/video/Cameras.h"

#include <string>

namespace vintra {

/// Where the report of the setup reads.
struct DiagnosticsSources {
    const Platform& platform;
    const TakeStatus& status;
    const AudioSelection& audio;
    const CameraSelection& camera;
    const ScreenSelection& screen;
    const OutputRouting& outputRouting;
    const Cameras& cameras;
};

/// All of the setup as text, for the clipboard and for a report to the makers: what is chosen, what the
/// devices say of themselves, what the last take left behind. One fact a line. Reads devices. Main thread.
std::string diagnosticsReport(const DiagnosticsSources& sources);
/// The same behind the report of the last run's crash, if there is one.
std::string crashReportForSharing(const DiagnosticsSources& sources);

} // namespace vintra

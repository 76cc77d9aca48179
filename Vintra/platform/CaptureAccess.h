#pragma once

#include "Vintra/platform/AVMediaType.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Task.h"

#include <memory>

namespace vintra {

/// Whether the user lets the program capture sound or pictures; asks only where that has never been asked.
/// Main thread, which outlives the task.
Task<bool> requestAccessIfNeeded(std::shared_ptr<CaptureDevices> devices, MainThread& mainThread,
                                 AVMediaType mediaType);

} // namespace vintra

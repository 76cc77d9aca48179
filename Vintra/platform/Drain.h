#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Task.h"

#include <memory>

namespace vintra {

/// Resumes from a block run on the queue, so all work queued earlier has ended. Main thread, which outlives
/// the task.
Task<> drain(MainThread& mainThread, std::shared_ptr<DispatchQueue> queue);

} // namespace vintra

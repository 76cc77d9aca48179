#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Published.h"

#include <memory>
#include <string>

namespace vintra {

/// Watches the files of a stop being finished.
///
/// Goal: a disk that hangs isn't waited for in silence, and nothing is lost that it would still take. Method: a
/// file that isn't finished within 5 s is told in the status, and waited for all the same, until the user gives
/// it up; from then on each later file has those 5 s. Rejected: a bound alone, which would cut off a file on a
/// disk that only sleeps.
///
/// Owned by the controller. Main thread.
class FinishWatch {
public:
    /// Both outlive this.
    FinishWatch(MainThread& mainThread, Published<std::string>& statusMessage)
        : mainThread(mainThread)
        , statusMessage(statusMessage)
        , tasks(mainThread) {}

    /// For a take's first file.
    void beginTake() {
        isGivenUp = false;
        abandoned = nullptr;
    }
    /// A file is being finished. The queue is for a timer.
    void begin(std::shared_ptr<AVAssetWriter> file, DispatchQueue& queue);
    /// It has been.
    void end();
    /// A file that the user gave up.
    bool wasAbandoned(const AVAssetWriter& file) const { return abandoned == &file; }
    /// A file that is waited for too long is left as it is. Does nothing before the user was told of one.
    void giveUp();

private:
    void isLate();

    MainThread& mainThread;
    Published<std::string>& statusMessage;
    std::shared_ptr<AVAssetWriter> writer; ///< null while none is being finished
    std::unique_ptr<DispatchTimer> timer;
    bool isTold = false; ///< of the writer
    bool isGivenUp = false;
    const AVAssetWriter* abandoned = nullptr; ///< the last one, to be compared alone
    MainThreadTasks tasks;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vintra {

/// A program of the desktop's that is started and lives on by itself; only how it ends is of interest. Letting go of
/// this leaves the program alone. Main thread.
class ProgramLaunch {
public:
    /// How it ended; a number other than 0 also where it couldn't be started.
    using OnEnd = std::function<void(int exitCode)>;

    /// The program is found by PATH. `onEnd` is called later, once. The loop outlives this.
    ProgramLaunch(EventLoop& loop, std::vector<std::string> command, OnEnd onEnd);
    ~ProgramLaunch();
    ProgramLaunch(const ProgramLaunch&) = delete;
    ProgramLaunch& operator=(const ProgramLaunch&) = delete;

private:
    void ended();

    const OnEnd onEnd;
    pid_t process = -1;        ///< until it has been waited for
    FileDescriptor descriptor; ///< readable once the process has ended
    std::shared_ptr<void> watch;
};

} // namespace vintra

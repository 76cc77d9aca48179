#pragma once

#include "Vintra/platform/URL.h"

#include <string>
#include <string_view>

namespace vintra {

/// Leaves a readable report when this process crashes: what it is and where it runs, the signal, each thread with its
/// calls, the last lines of the log. Then the signal does what it would have done, so that a core dump is still made.
///
///     crash --handler--> Vintra-2026-11-22-031500-4711.raw --next launch--> Vintra-2026-11-22-031500-4711.crash
///
/// The handler can neither allocate nor translate the names of C++: the next launch does that. A stack that has
/// overflown is reported from the main thread alone, which has a second one for it.
namespace CrashReporter {

/// Of a finished report.
inline constexpr const char* kPathExtension = "crash";

/// What a report says of the program. At most 255 bytes of each are told.
struct Program {
    std::string name;    ///< the reports' names begin with it
    std::string version; ///< "1.2.3 (build 4)"
    std::string machine; ///< "Debian GNU/Linux 12 · model"
};

/// Finishes the reports that the runs before have left in the folder, of which the ten newest are kept, and from now
/// on reports a crash of this one. Once in a process, on the main thread. Throws `SystemError` if the folder can't be
/// made; the process then runs without.
void install(const URL& folder, const Program& program);

/// Keeps a line of the log for a report: the last 100 are, each with its first 255 bytes. Any thread; doesn't wait.
void noteLogLine(std::string_view line);

/// The text with every mangled name of C++ in it as people write it. Any thread.
std::string demangled(const std::string& text);

} // namespace CrashReporter
} // namespace vintra

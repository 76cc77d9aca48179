#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// The calls that the services of one machine received, in order: those to writers and streams, and the work
/// that the main thread handed to serial queues, but no samples. A test reads from it the order of steps that
/// no result shows. One real thread.
class SimulatedJournal {
public:
    void note(std::string call) { calls.push_back(std::move(call)); }

    std::vector<std::string> calls; ///< a test may clear it
};

} // namespace vintra

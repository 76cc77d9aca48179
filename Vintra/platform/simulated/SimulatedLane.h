#pragma once

#include "Vintra/platform/simulated/VirtualTime.h"

#include <deque>
#include <functional>
#include <memory>
#include <utility>

namespace vintra {

/// Runs work one piece after another on virtual time: what a serial queue and the main thread have in common.
/// While a piece sleeps, the lane stays occupied and its later pieces wait; other lanes keep working. One real
/// thread.
class SimulatedLane : public std::enable_shared_from_this<SimulatedLane> {
public:
    static std::shared_ptr<SimulatedLane> make(std::shared_ptr<VirtualTime> time);

    /// Runs the work after what was posted before, never at once. Lanes take turns in the order of posting.
    void post(std::function<void()> work);
    /// Runs all that waits, then the work. Ends the process if the lane is occupied: it would wait for
    /// itself.
    void runNow(const std::function<void()>& work);
    /// Runs all that waits, unless the lane is occupied.
    void runWaiting();
    bool isOccupied() const { return occupied; }
    bool isCurrent() const { return time->currentContext() == this; }

private:
    explicit SimulatedLane(std::shared_ptr<VirtualTime> time)
        : time(std::move(time)) {}
    void turn();
    void run(const std::function<void()>& work);
    void scheduleTurn();

    std::shared_ptr<VirtualTime> time;
    std::deque<std::function<void()>> waiting;
    size_t missedTurns = 0; ///< turns that came while the lane was occupied
    bool occupied = false;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/simulated/SimulatedJournal.h"
#include "Vintra/platform/simulated/SimulatedLane.h"
#include "Vintra/platform/simulated/SimulatedMainThread.h"

#include <functional>
#include <memory>
#include <string>

namespace vintra {

/// How late each firing of a timer comes, in nanoseconds, by the queue's label and the number of the firing
/// from 0.
using SimulatedTimerLateness = std::function<int64_t(const std::string& label, int64_t firing)>;

/// A serial queue of a simulated machine, or a concurrent one, whose pieces never wait for each other. One
/// real thread.
class SimulatedDispatchQueue : public DispatchQueue {
public:
    enum class Kind { serial, concurrent };

    struct Services {
        std::shared_ptr<VirtualTime> time;
        std::shared_ptr<SimulatedMainThread> mainThread;
        std::shared_ptr<SimulatedJournal> journal;
        std::shared_ptr<SimulatedTimerLateness> lateness = std::make_shared<SimulatedTimerLateness>();
    };

    SimulatedDispatchQueue(Services services, std::string label, Kind kind);
    ~SimulatedDispatchQueue() override;

    const std::string& label() const override { return name; }
    void async(std::function<void()> work) override;
    void sync(const std::function<void()>& work) override;
    std::unique_ptr<DispatchTimer> makeTimer(DispatchTimerSchedule schedule,
                                             std::function<void()> handler) override;
    /// Whether the caller runs on this queue.
    bool isCurrent() const { return lane && lane->isCurrent(); }
    /// Whether a piece of work runs or sleeps on it.
    bool isOccupied() const { return lane && lane->isOccupied(); }

private:
    Services services;
    std::string name;
    std::shared_ptr<SimulatedLane> lane; ///< null if concurrent
};

} // namespace vintra

#pragma once

#include "Vintra/platform/simulated/SimulatedDispatchQueue.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// Makes the queues of a simulated machine. One real thread.
class SimulatedDispatchQueues : public DispatchQueues {
public:
    SimulatedDispatchQueues(std::shared_ptr<VirtualTime> time,
                            std::shared_ptr<SimulatedMainThread> mainThread,
                            std::shared_ptr<SimulatedJournal> journal);

    std::shared_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;
    std::shared_ptr<DispatchQueue> globalQueue(QualityOfService quality) override;

    /// The living serial queue made last under the label; null if there is none.
    std::shared_ptr<SimulatedDispatchQueue> queue(const std::string& label) const;
    /// Labels of all serial queues ever made, in order.
    std::vector<std::string> labels;
    /// Script how late timers fire; nothing set, they are on time.
    void setTimerLateness(SimulatedTimerLateness newLateness) { *services.lateness = std::move(newLateness); }

private:
    SimulatedDispatchQueue::Services services;
    std::vector<std::weak_ptr<SimulatedDispatchQueue>> queues;
    std::shared_ptr<SimulatedDispatchQueue> userInitiated;
    std::shared_ptr<SimulatedDispatchQueue> utility;
};

} // namespace vintra

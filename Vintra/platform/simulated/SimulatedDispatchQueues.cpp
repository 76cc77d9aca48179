#include "Vintra/platform/simulated/SimulatedDispatchQueues.h"

namespace vintra {

SimulatedDispatchQueues::SimulatedDispatchQueues(std::shared_ptr<VirtualTime> time)
    : time(time)
    , userInitiated(std::make_shared<SimulatedDispatchQueue>(
          time, "global.userInitiated", SimulatedDispatchQueue::Kind::concurrent, lateness))
    , utility(std::make_shared<SimulatedDispatchQueue>(time, "global.utility",
                                                       SimulatedDispatchQueue::Kind::concurrent, lateness)) {}

std::shared_ptr<DispatchQueue> SimulatedDispatchQueues::makeSerialQueue(const std::string& label) {
    auto made =
        std::make_shared<SimulatedDispatchQueue>(time, label, SimulatedDispatchQueue::Kind::serial, lateness);
    labels.push_back(label);
    queues.push_back(made);
    return made;
}

std::shared_ptr<DispatchQueue> SimulatedDispatchQueues::globalQueue(QualityOfService quality) {
    switch (quality) {
    case QualityOfService::userInitiated:
        return userInitiated;
    case QualityOfService::utility:
        return utility;
    }
    return utility;
}

std::shared_ptr<SimulatedDispatchQueue> SimulatedDispatchQueues::queue(const std::string& label) const {
    for (auto candidate = queues.rbegin(); candidate != queues.rend(); ++candidate) {
        auto living = candidate->lock();
        if (living && living->label() == label) return living;
    }
    return nullptr;
}

} // namespace vintra

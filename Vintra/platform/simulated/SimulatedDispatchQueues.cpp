#include "Vintra/platform/simulated/SimulatedDispatchQueues.h"

#include <utility>

namespace vintra {

SimulatedDispatchQueues::SimulatedDispatchQueues(std::shared_ptr<VirtualTime> time,
                                                 std::shared_ptr<SimulatedMainThread> mainThread,
                                                 std::shared_ptr<SimulatedJournal> journal)
    : services{std::move(time), std::move(mainThread), std::move(journal)}
    , userInitiated(std::make_shared<SimulatedDispatchQueue>(services, "global.userInitiated",
                                                             SimulatedDispatchQueue::Kind::concurrent))
    , utility(std::make_shared<SimulatedDispatchQueue>(services, "global.utility",
                                                       SimulatedDispatchQueue::Kind::concurrent)) {}

std::shared_ptr<DispatchQueue> SimulatedDispatchQueues::makeSerialQueue(const std::string& label) {
    auto made =
        std::make_shared<SimulatedDispatchQueue>(services, label, SimulatedDispatchQueue::Kind::serial);
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

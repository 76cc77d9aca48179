#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"

#include "Vintra/platform/linux/runtime/LinuxDispatchQueue.h"
#include "Vintra/platform/linux/runtime/ThreadCollector.h"

namespace vintra {
namespace {

constexpr int kThreadsOfGlobalQueue = 4;
/// Detached utility work gives way to capturing and encoding.
constexpr int kNicenessOfUtility = 5;

} // namespace

LinuxDispatchQueues::LinuxDispatchQueues()
    : collector(std::make_shared<ThreadCollector>()) {}

LinuxDispatchQueues::~LinuxDispatchQueues() {
    {
        MutexLock lock(mutex);
        globalQueues.clear();
    }
    collector->joinAll();
}

std::shared_ptr<DispatchQueue> LinuxDispatchQueues::makeSerialQueue(const std::string& label) {
    return std::make_shared<LinuxDispatchQueue>(LinuxDispatchQueue::Settings{.label = label}, collector);
}

std::shared_ptr<DispatchQueue> LinuxDispatchQueues::globalQueue(QualityOfService quality) {
    MutexLock lock(mutex);
    auto& queue = globalQueues[quality];
    if (!queue) {
        const bool utility = quality == QualityOfService::utility;
        queue = std::make_shared<LinuxDispatchQueue>(
            LinuxDispatchQueue::Settings{.label = utility ? "global.utility" : "global.userInitiated",
                                         .threads = kThreadsOfGlobalQueue,
                                         .niceness = utility ? kNicenessOfUtility : 0},
            collector);
    }
    return queue;
}

} // namespace vintra

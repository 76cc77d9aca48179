#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Mutex.h"

#include <map>
#include <memory>
#include <string>

namespace vintra {

class ThreadCollector;

/// Queues on real threads: one thread for each serial queue, a few for each global one. Letting go of the
/// last reference to a queue waits until its work is done, unless that happens on the queue itself; so it is
/// not done with a lock held that the work takes. Ends only after the threads of all its queues that were let
/// go. Any thread.
class LinuxDispatchQueues : public DispatchQueues {
public:
    LinuxDispatchQueues();
    ~LinuxDispatchQueues() override;

    std::shared_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;
    std::shared_ptr<DispatchQueue> globalQueue(QualityOfService quality) override;

private:
    std::shared_ptr<ThreadCollector> collector;
    Mutex mutex;
    std::map<QualityOfService, std::shared_ptr<DispatchQueue>> globalQueues GUARDED_BY(mutex);
};

} // namespace vintra

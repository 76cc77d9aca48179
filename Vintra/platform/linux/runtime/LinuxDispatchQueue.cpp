#include "Vintra/platform/linux/runtime/LinuxDispatchQueue.h"

#include "Vintra/platform/linux/runtime/LinuxDispatchQueueCore.h"
#include "Vintra/platform/linux/runtime/ThreadCollector.h"

#include <cassert>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

/// What the kernel keeps of a thread's name.
constexpr size_t kThreadNameLength = 15;

/// The part of the label that tells queues apart: without the owner's reversed domain.
std::string threadName(const std::string& label) {
    size_t begin = 0;
    if (label.starts_with("com.")) {
        const size_t second = label.find('.', 4);
        if (second != std::string::npos) begin = second + 1;
    }
    return label.substr(begin, kThreadNameLength);
}

} // namespace

class LinuxDispatchQueue::Timer : public DispatchTimer {
public:
    Timer(std::shared_ptr<LinuxDispatchQueue> queue, std::shared_ptr<Core::TimerState> state)
        : queue(std::move(queue))
        , state(std::move(state)) {}
    ~Timer() override { queue->core->cancel(state); }
    void resume() override { queue->core->arm(state); }
    void cancel() override { queue->core->cancel(state); }

private:
    std::shared_ptr<LinuxDispatchQueue> queue;
    std::shared_ptr<Core::TimerState> state;
};

LinuxDispatchQueue::LinuxDispatchQueue(Settings settings, std::shared_ptr<ThreadCollector> collector)
    : theLabel(settings.label)
    , core(std::make_shared<Core>())
    , collector(std::move(collector)) {
    for (int i = 0; i < settings.threads; ++i) {
        threads.emplace_back([core = core, name = threadName(theLabel), niceness = settings.niceness] {
            pthread_setname_np(pthread_self(), name.c_str());
            // On Linux this is a property of the thread. A refusal costs nothing but the courtesy.
            if (niceness != 0) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
            core->run();
        });
    }
}

LinuxDispatchQueue::~LinuxDispatchQueue() {
    core->close();
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id())
            collector->keep(std::move(thread));
        else
            thread.join();
    }
}

void LinuxDispatchQueue::async(std::function<void()> work) {
    core->async(std::move(work));
}

void LinuxDispatchQueue::sync(const std::function<void()>& work) {
#ifndef NDEBUG
    for (const std::thread& thread : threads)
        assert(threads.size() > 1 || thread.get_id() != std::this_thread::get_id());
#endif
    struct Rendezvous {
        Mutex mutex;
        std::condition_variable_any ended;
        bool done GUARDED_BY(mutex) = false;
    };
    const auto rendezvous = std::make_shared<Rendezvous>();
    core->async([rendezvous, &work] {
        work();
        MutexLock lock(rendezvous->mutex);
        rendezvous->done = true;
        rendezvous->ended.notify_one();
    });
    MutexLock lock(rendezvous->mutex);
    while (!rendezvous->done)
        rendezvous->ended.wait(rendezvous->mutex);
}

std::unique_ptr<DispatchTimer> LinuxDispatchQueue::makeTimer(DispatchTimerSchedule schedule,
                                                             std::function<void()> handler) {
    using std::chrono::nanoseconds;
    auto state = std::make_shared<Core::TimerState>(
        Core::TimerState{.handler = std::move(handler),
                         .interval = nanoseconds(schedule.intervalNanoseconds),
                         .due = Core::Clock::now() + nanoseconds(schedule.delayNanoseconds)});
    return std::make_unique<Timer>(shared_from_this(), std::move(state));
}

} // namespace vintra

#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/WakeUp.h"

#include <functional>
#include <poll.h>
#include <string>
#include <systemd/sd-bus.h>
#include <thread>
#include <utility>
#include <vector>

namespace vintra {

/// A connection to a bus that a thread of its own serves, for the double of a service. Whoever owns it adds its objects and
/// takes its names between the construction and `begin`, and declares it last, so that its thread ends first.
class ServedBus {
public:
    explicit ServedBus(const std::string& address) {
        sd_bus_new(&bus);
        sd_bus_set_address(bus, address.c_str());
        sd_bus_set_bus_client(bus, true);
        sd_bus_start(bus);
    }
    ~ServedBus() {
        {
            const MutexLock lock(mutex);
            ended = true;
        }
        wakeUp.set();
        if (thread.joinable()) thread.join();
        sd_bus_close_unref(bus);
    }
    ServedBus(const ServedBus&) = delete;
    ServedBus& operator=(const ServedBus&) = delete;

    /// The thread's alone after `begin`.
    sd_bus* get() const { return bus; }
    void begin() {
        thread = std::thread([this] { run(); });
    }
    /// Runs it on the thread.
    void post(std::function<void()> work) {
        {
            const MutexLock lock(mutex);
            posted.push_back(std::move(work));
        }
        wakeUp.set();
    }

private:
    void run() {
        while (true) {
            std::vector<std::function<void()>> work;
            {
                const MutexLock lock(mutex);
                if (ended) return;
                work.swap(posted);
            }
            for (const auto& each : work)
                each();
            while (sd_bus_is_open(bus) && sd_bus_process(bus, nullptr) > 0) {
            }
            if (sd_bus_is_open(bus)) sd_bus_flush(bus);
            pollfd descriptors[] = {{sd_bus_is_open(bus) ? sd_bus_get_fd(bus) : -1, POLLIN, 0},
                                    {wakeUp.fileDescriptor(), POLLIN, 0}};
            ::poll(descriptors, 2, -1);
            if (descriptors[1].revents != 0) wakeUp.clear();
        }
    }

    sd_bus* bus = nullptr;
    WakeUp wakeUp;
    Mutex mutex;
    std::vector<std::function<void()>> posted GUARDED_BY(mutex);
    bool ended GUARDED_BY(mutex) = false;
    std::thread thread;
};

} // namespace vintra

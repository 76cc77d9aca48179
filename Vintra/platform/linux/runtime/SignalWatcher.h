#pragma once

#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <csignal>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

namespace vintra {

class EventLoop;

/// Calls a block on the main thread each time one of the signals arrives, instead of what the signal did before. Its
/// end restores that. A hang-up that is ignored when the watcher is made, as nohup asks for, stays ignored. At most one
/// lives at a time. Main thread.
class SignalWatcher {
public:
    SignalWatcher(EventLoop& eventLoop, std::initializer_list<int> signals,
                  std::function<void(int signal)> handler);
    ~SignalWatcher();
    SignalWatcher(const SignalWatcher&) = delete;
    SignalWatcher& operator=(const SignalWatcher&) = delete;

private:
    struct Previous {
        int signal;
        struct sigaction action;
    };

    void readSignals();

    FileDescriptor readEnd;
    FileDescriptor writeEnd;
    std::function<void(int)> handler;
    std::vector<Previous> previous;
    std::shared_ptr<void> watch;
};

} // namespace vintra

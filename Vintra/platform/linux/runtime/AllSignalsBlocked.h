#pragma once

#include <csignal>
#include <pthread.h>

namespace vintra {

/// Threads that are started while this lives take no signals: signals are for the main thread. That includes
/// SIGPIPE, so that a write to a server that has ended doesn't end the process.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t before;
};

} // namespace vintra

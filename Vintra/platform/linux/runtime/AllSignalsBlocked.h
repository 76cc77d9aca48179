#pragma once

#include <csignal>
#include <pthread.h>

namespace vintra {

/// While it lives, threads that are started take no signals: those are for the main thread. A write to a
/// server that has gone must not end the process either.
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

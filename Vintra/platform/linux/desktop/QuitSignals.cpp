#include "Vintra/platform/linux/desktop/QuitSignals.h"

#include "Vintra/platform/EventLoop.h"

#include <csignal>
#include <utility>

namespace vintra {

QuitSignals::QuitSignals(EventLoop& loop, std::function<void()> quit)
    : quit(std::move(quit))
    , watcher(std::make_unique<SignalWatcher>(loop, std::initializer_list<int>{SIGINT, SIGTERM, SIGHUP},
                                              [this](int) { arrived(); })) {}

void QuitSignals::arrived() {
    if (++count == 2) watcher = nullptr;
    quit();
}

} // namespace vintra

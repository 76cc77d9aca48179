#include "Vintra/platform/MainThreadTasks.h"

namespace vintra {

MainThreadTasks::MainThreadTasks(MainThread& mainThread)
    : mainThread(mainThread) {}

void MainThreadTasks::post(std::function<Task<>()> operation) {
    mainThread.post(guarded([this, operation = std::move(operation)] { scope.start(operation()); }));
}

} // namespace vintra

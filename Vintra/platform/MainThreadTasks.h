#pragma once

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Task.h"

#include <functional>
#include <memory>
#include <utility>

namespace vintra {

/// The operations that an object of the main thread runs without anybody waiting for them. They end with it,
/// at their suspension points. Owned by that object as its last member, since they touch the others. Main
/// thread.
class MainThreadTasks {
public:
    /// The main thread outlives this.
    explicit MainThreadTasks(MainThread& mainThread);
    MainThreadTasks(const MainThreadTasks&) = delete;
    MainThreadTasks& operator=(const MainThreadTasks&) = delete;

    /// Runs the operation later, unless this has gone by then.
    void post(std::function<Task<>()> operation);
    /// Runs the task at once up to its first suspension, and on from there as it is resumed.
    void start(Task<> task) { scope.start(std::move(task)); }

    /// The function, for a callback that comes on the main thread and may come too late: it does nothing once
    /// this has gone. The owner must not be destroyed from within the function.
    template <typename Function>
    auto guarded(Function function) const {
        return [weak = std::weak_ptr<const int>(life),
                function = std::move(function)](const auto&... arguments) {
            if (weak.lock()) function(arguments...);
        };
    }

private:
    MainThread& mainThread;
    std::shared_ptr<int> life = std::make_shared<int>();
    TaskScope scope;
};

} // namespace vintra

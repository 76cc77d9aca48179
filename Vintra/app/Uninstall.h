#pragma once

#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/ProgramRemoval.h"
#include "Vintra/platform/Task.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vintra {

struct Alert;
class Alerts;
class ScreenRecorderManager;

/// Removes the program from inside of it. Recordings are never touched, and settings are kept on purpose. Owned by the
/// program. Main thread.
class Uninstall {
public:
    struct Machine {
        Platform platform;
        Alerts& alerts;
        ProgramRemoval& removal;
        std::function<void()> terminate;
    };
    /// The product's web site as the build was given it; may be empty.
    static const std::string_view siteURL;

    /// What the machine refers to outlives this.
    explicit Uninstall(Machine machine, std::string_view site = siteURL);

    /// Asks, and then does it. A run that is under way isn't begun again, and a recorder that records leaves all as
    /// it is.
    void run(std::weak_ptr<ScreenRecorderManager> recorder);

private:
    Task<> remove(std::weak_ptr<ScreenRecorderManager> recorder);
    Task<size_t> ask(Alert alert);
    Alert question() const;
    Alert failure(const std::string& message) const;
    Alert farewell() const;
    void removeCaches() const;

    const Machine machine;
    const std::string site;
    bool isRunning = false;
    MainThreadTasks tasks;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Screens.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

class X11ScreenWatch;

/// The monitors of an X desktop. Each reading asks the server afresh over a connection of its own; changes
/// are watched from the first observer on. Main thread.
class X11Screens : public Screens {
public:
    /// An empty name stands for the DISPLAY of the environment.
    explicit X11Screens(std::shared_ptr<MainThread> mainThread, std::string displayName = {});
    ~X11Screens() override;

    std::vector<NSScreen> screens() const override;
    Observation observeChanges(std::function<void()> block) override;

private:
    using Block = std::function<void()>;
    struct Observers {
        std::vector<std::weak_ptr<Block>> blocks;
        void tell();
    };

    const std::shared_ptr<MainThread> mainThread;
    const std::string displayName;
    const std::shared_ptr<Observers> observers = std::make_shared<Observers>(); ///< main thread
    std::unique_ptr<X11ScreenWatch> watch;
};

} // namespace vintra

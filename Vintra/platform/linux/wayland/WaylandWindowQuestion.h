#pragma once

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/WindowQuestion.h"
#include "Vintra/platform/linux/runtime/WakeUp.h"
#include "Vintra/platform/linux/wayland/PortalGlance.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace vintra {

/// The question of a Wayland desktop's portal. Whether the portal shares windows is asked on a thread of its own, from the
/// making on; until it has answered it counts as doing so. What was chosen is remembered by the portal's restore token.
/// Main thread.
class WaylandWindowQuestion final : public WindowQuestion {
public:
    WaylandWindowQuestion(WaylandDesktop desktop, std::shared_ptr<MainThread> mainThread);
    ~WaylandWindowQuestion() override;
    WaylandWindowQuestion(const WaylandWindowQuestion&) = delete;
    WaylandWindowQuestion& operator=(const WaylandWindowQuestion&) = delete;

    Offer offer() const override { return offered->offer; }
    Observation observeOffer(std::function<void()> block) override;
    void ask(Wish wish, std::function<void(Answer)> completion) override;
    void cancel() override { glance.reset(); }

    /// What the last question for the same window granted, once; null if there is nothing.
    std::shared_ptr<PortalSharing> takeSharing();

private:
    /// The main thread's.
    struct Offered {
        Offer offer = Offer::asked;
        std::vector<std::weak_ptr<std::function<void()>>> blocks;
    };
    struct Granted {
        Mutex mutex;
        std::shared_ptr<PortalSharing> sharing GUARDED_BY(mutex);
    };
    void readOffer();

    const WaylandDesktop desktop;
    const std::shared_ptr<MainThread> mainThread;
    const std::shared_ptr<Offered> offered = std::make_shared<Offered>();
    const std::shared_ptr<Granted> granted = std::make_shared<Granted>();
    std::unique_ptr<PortalGlance> glance;
    const std::shared_ptr<WakeUp> wakeUp = std::make_shared<WakeUp>();
    std::atomic<bool> isEnding{false};
    std::thread reader;
};

} // namespace vintra

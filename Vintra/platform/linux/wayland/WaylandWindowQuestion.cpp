#include "Vintra/platform/linux/wayland/WaylandWindowQuestion.h"

#include "Vintra/platform/linux/runtime/AllSignalsBlocked.h"

#include <system_error>
#include <utility>

namespace vintra {
namespace {

/// Of `SystemError`, where the user says no.
bool isDeclined(const SystemError& error) {
    return error.domain() == "portal" && error.code() == 6;
}

} // namespace

WaylandWindowQuestion::WaylandWindowQuestion(WaylandDesktop desktop, std::shared_ptr<MainThread> mainThread)
    : desktop(std::move(desktop))
    , mainThread(std::move(mainThread)) {
    const AllSignalsBlocked inheritedByTheThread;
    try {
        reader = std::thread([this] { readOffer(); });
    } catch (const std::system_error&) {
        // The question itself tells what it can't do.
    }
}

WaylandWindowQuestion::~WaylandWindowQuestion() {
    glance.reset();
    isEnding = true;
    wakeUp->set();
    if (reader.joinable()) reader.join();
}

void WaylandWindowQuestion::readOffer() {
    bool sharesWindows = true;
    try {
        PortalBus bus(desktop.busAddress, PortalBus::GivingUp{wakeUp, [this] { return isEnding.load(); }});
        sharesWindows = PortalScreenCast(bus).shares(PortalScreenCast::Source::window);
    } catch (const SystemError&) {
        return; // there is no portal, which a take of anything tells in a sentence
    }
    if (sharesWindows) return;
    mainThread->post([weak = std::weak_ptr(offered)] {
        const auto told = weak.lock();
        if (!told) return;
        told->offer = Offer::refused;
        const auto all = told->blocks;
        for (const auto& each : all) {
            if (const auto block = each.lock()) (*block)();
        }
    });
}

Observation WaylandWindowQuestion::observeOffer(std::function<void()> block) {
    std::erase_if(offered->blocks, [](const auto& each) { return each.expired(); });
    auto kept = std::make_shared<std::function<void()>>(std::move(block));
    offered->blocks.push_back(kept);
    return kept;
}

void WaylandWindowQuestion::ask(Wish wish, std::function<void(Answer)> completion) {
    glance.reset();
    takeSharing();
    const auto tell = [granted = granted, wish,
                       completion = std::move(completion)](PortalGlance::Outcome seen) {
        Answer answer;
        const bool isNo = seen.isGivenUp || (seen.error && isDeclined(*seen.error));
        if (seen.error && !(isNo && wish == Wish::another)) answer.error = seen.error;
        if (!seen.content.isEmpty()) {
            const int width = seen.content.width;
            const int height = seen.content.height;
            answer.window =
                SCWindow{.windowID = 0,
                         .frame = {{0, 0}, {static_cast<double>(width), static_cast<double>(height)}},
                         .title = {},
                         .pixelWidth = width,
                         .pixelHeight = height};
        }
        if (wish == Wish::same && answer.window) {
            MutexLock lock(granted->mutex);
            granted->sharing = std::move(seen.sharing);
        }
        seen.sharing.reset(); // before anybody asks anew
        completion(answer);
    };
    glance = std::make_unique<PortalGlance>(
        desktop, PortalGlance::Subject{.displayID = {}, .isNew = wish == Wish::another}, tell);
}

std::shared_ptr<PortalSharing> WaylandWindowQuestion::takeSharing() {
    MutexLock lock(granted->mutex);
    return std::exchange(granted->sharing, nullptr);
}

} // namespace vintra

#include "Vintra/platform/linux/overlays/X11EventMonitors.h"

#include "Vintra/platform/linux/x11/X11Windows.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

/// Whether a press at the pointer's place was in a window of this process.
bool isOverOwnWindow(X11OverlayConnection& connection, ::Window child) {
    while (child != 0) {
        if (readProcess(connection.server(), child) == ::getpid()) return true;
        ::Window root = 0;
        ::Window deeper = 0;
        int unused = 0;
        unsigned buttons = 0;
        if (!XQueryPointer(connection.get(), child, &root, &deeper, &unused, &unused, &unused, &unused,
                           &buttons)) {
            return false;
        }
        child = deeper;
    }
    return false;
}

} // namespace

struct X11EventMonitors::Listeners {
    using Block = std::function<void(CGPoint)>;

    void tell(CGPoint at) {
        const auto all = blocks; // a block may add another
        for (const auto& weak : all) {
            if (const auto block = weak.lock()) (*block)(at);
        }
    }

    std::vector<std::weak_ptr<Block>> blocks;
    std::unique_ptr<X11PointerWatch> watch;
};

/// What an observer holds. The watch goes with the last one.
struct X11EventMonitors::Observed {
    Observed(std::shared_ptr<Listeners::Block> block, const std::shared_ptr<Listeners>& listeners)
        : block(std::move(block))
        , listeners(listeners) {}
    Observed(const Observed&) = delete;
    Observed& operator=(const Observed&) = delete;
    ~Observed() {
        block.reset();
        const auto list = listeners.lock();
        if (!list) return;
        std::erase_if(list->blocks, [](const auto& each) { return each.expired(); });
        if (list->blocks.empty()) list->watch.reset();
    }

    std::shared_ptr<Listeners::Block> block;
    const std::weak_ptr<Listeners> listeners;
};

X11EventMonitors::X11EventMonitors(EventLoop& eventLoop, std::shared_ptr<X11OverlayConnection> connection,
                                   std::string displayName)
    : eventLoop(eventLoop)
    , connection(std::move(connection))
    , displayName(std::move(displayName))
    , moves(std::make_shared<Listeners>())
    , clicks(std::make_shared<Listeners>()) {}

CGPoint X11EventMonitors::mouseLocation() const {
    const auto pointer = connection->pointer();
    connection->settle();
    return {pointer.x / connection->scale(), pointer.y / connection->scale()};
}

Observation X11EventMonitors::add(const std::shared_ptr<Listeners>& listeners, X11PointerWatch::Kind kind,
                                  std::function<void(CGPoint)> block) {
    std::erase_if(listeners->blocks, [](const auto& weak) { return weak.expired(); });
    auto kept = std::make_shared<Listeners::Block>(std::move(block));
    listeners->blocks.push_back(kept);
    if (!listeners->watch) {
        const auto told = [weak = std::weak_ptr(listeners), server = connection, kind] {
            const auto list = weak.lock();
            if (!list) return;
            CGPoint at;
            if (kind == X11PointerWatch::Kind::presses) {
                const auto pointer = server->pointer();
                const bool isOwn = isOverOwnWindow(*server, pointer.child);
                at = {pointer.x / server->scale(), pointer.y / server->scale()};
                server->settle();
                if (isOwn) return;
            }
            list->tell(at);
        };
        listeners->watch = X11PointerWatch::open(eventLoop, displayName, kind, told);
    }
    return std::make_shared<Observed>(kept, listeners);
}

Observation X11EventMonitors::observeMouseMoves(std::function<void()> block) {
    return add(moves, X11PointerWatch::Kind::moves, [block = std::move(block)](CGPoint) { block(); });
}

bool X11EventMonitors::canObserveClicks() const {
    int opcode = 0;
    int event = 0;
    int error = 0;
    if (connection->isDead()) return false;
    const bool has = XQueryExtension(connection->get(), "XInputExtension", &opcode, &event, &error);
    connection->settle();
    return has;
}

Observation X11EventMonitors::observeClicks(std::function<void(CGPoint)> block) {
    return add(clicks, X11PointerWatch::Kind::presses, std::move(block));
}

} // namespace vintra

#pragma once

#include <cstdint>
#include <memory>

namespace vintra {

/// A user's hands on a Wayland desktop of the tests: a pointer and a keyboard of its own, over a connection of its own.
/// Every call returns when the compositor has handled it. One thread.
class WaylandHand {
public:
    WaylandHand();
    ~WaylandHand();
    WaylandHand(const WaylandHand&) = delete;
    WaylandHand& operator=(const WaylandHand&) = delete;

    bool isThere() const;
    /// On a desktop of that size, points.
    void move(int x, int y, int width, int height);
    void press();
    void release();
    /// As the kernel numbers keys.
    void type(uint32_t key);

private:
    struct Client;
    std::unique_ptr<Client> client;
};

} // namespace vintra

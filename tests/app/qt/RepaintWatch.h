#pragma once

#include <QRect>
#include <cstdint>
#include <memory>

namespace vintra {

/// What of a window the program sends to the X server anew. One thread.
class RepaintWatch {
public:
    explicit RepaintWatch(uint64_t window);
    ~RepaintWatch();
    RepaintWatch(const RepaintWatch&) = delete;
    RepaintWatch& operator=(const RepaintWatch&) = delete;

    /// Takes up what has come since the last look.
    void look();
    int count() const { return repaints; }
    /// The least that holds all of it, in pixels of the window.
    QRect bounds() const { return area; }

private:
    struct Connection;
    const std::unique_ptr<Connection> connection;
    int repaints = 0;
    QRect area;
};

} // namespace vintra

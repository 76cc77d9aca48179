#pragma once

#include <X11/Xlib.h>

#include <cstdint>

namespace vintra {

/// Something to film. Owned by `main`; one thread.
class Content {
public:
    virtual ~Content() = default;
    /// Paints what belongs to the time since the start, and waits until the server has done so.
    virtual void paint(int64_t milliseconds) = 0;
    virtual Window window() const = 0;
};

} // namespace vintra

#pragma once

#include <memory>

namespace vintra {

/// A tray of X windows that shows nothing, for as long as it lives. One thread.
class XTrayDouble {
public:
    XTrayDouble();
    ~XTrayDouble();
    XTrayDouble(const XTrayDouble&) = delete;
    XTrayDouble& operator=(const XTrayDouble&) = delete;

private:
    struct Connection;
    const std::unique_ptr<Connection> connection;
};

} // namespace vintra

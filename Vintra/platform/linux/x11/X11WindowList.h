#pragma once

#include "Vintra/platform/WindowList.h"

#include <memory>
#include <optional>
#include <string>

namespace vintra {

class X11Display;

/// The windows of an X desktop, read afresh at each call over one connection. Main thread.
class X11WindowList : public WindowList {
public:
    // Those of the platform for the Dock and for menus.
    static constexpr int kDockLayer = 20;
    static constexpr int kPassingLayer = 101;

    /// An empty name stands for the DISPLAY of the environment.
    explicit X11WindowList(std::string displayName = {});
    ~X11WindowList() override;

    std::vector<CGWindowInfo> onScreenWindowsExcludingDesktopElements() const override;
    std::optional<CGWindowInfo> window(uint32_t number) const override;

private:
    /// Null without a server.
    X11Display* connection() const;

    const std::string displayName;
    mutable std::unique_ptr<X11Display> display;
};

} // namespace vintra

#pragma once

#include "Vintra/platform/WindowList.h"

#include <optional>

namespace vintra {

/// A desktop that tells a program nothing of the windows of others, as Wayland's are.
class NoWindowList : public WindowList {
public:
    std::vector<CGWindowInfo> onScreenWindowsExcludingDesktopElements() const override { return {}; }
    std::optional<CGWindowInfo> window(uint32_t) const override { return std::nullopt; }
};

} // namespace vintra

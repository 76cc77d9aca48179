#pragma once

#include "Vintra/platform/KeyCode.h"

#include <X11/Xlib.h>

#include <optional>

namespace vintra {

/// The key by its place on the keyboard; nothing for one that has no meaning in an overlay. Digits go by their places,
/// whatever the layout writes there; Return, Enter and Escape by what the user has made of the keys.
std::optional<KeyCode> keyCodeOf(XKeyEvent& event);

} // namespace vintra

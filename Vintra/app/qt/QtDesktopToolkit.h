#pragma once

#include "Vintra/platform/URL.h"

#include <functional>
#include <string>

class QWindow;

namespace vintra {

/// What of a desktop's services only a toolkit with windows can do. Main thread, with an application object.
namespace QtDesktopToolkit {

void copyToPasteboard(const std::string& text);
/// The window as portals write it, "x11:2a00007"; empty where windows have no such name, and for none.
std::string portalNameOf(const QWindow* window);
/// A panel for one folder, for desktops without one of their own. The function is called later, or not at all.
void chooseFolder(const std::string& title, const URL& startingAt, std::function<void(const URL&)> onChosen);

} // namespace QtDesktopToolkit
} // namespace vintra

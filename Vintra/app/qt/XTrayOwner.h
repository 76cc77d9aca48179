#pragma once

namespace vintra {

/// Whether windows are those of an X server, which may have a tray of X windows.
bool canHaveXTray();
/// Whether such a tray is there now. Main thread, with an application object.
bool isXTrayThere();

} // namespace vintra

#pragma once

#include "Vintra/app/MenuBarItem.h"

#include <QIcon>

namespace vintra {

/// The drawn picture of the item, in red or in a colour that shows on the desktop's bar. Main thread.
QIcon trayIcon(const MenuBarItem::Icon& icon);

} // namespace vintra

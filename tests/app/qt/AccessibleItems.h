#pragma once

#include <QAccessible>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <vector>

namespace vintra {

// The items of a window as those find them who don't see it.

/// Every visible item in the window, parents first.
std::vector<QQuickItem*> visibleItems(const QQuickWindow& window);
/// Empty for an item that is passed over.
QString accessibleName(QQuickItem* item);
QAccessible::Role accessibleRole(QQuickItem* item);
/// The visible item that takes clicks and has that name; null if there is none.
QQuickItem* control(const QQuickWindow& window, const QString& name);
/// The visible item of that name, whatever it is; null if there is none.
QQuickItem* named(const QQuickWindow& window, const QString& name);
/// Whether a visible item shows or is called exactly that.
bool shows(const QQuickWindow& window, const QString& text);

} // namespace vintra

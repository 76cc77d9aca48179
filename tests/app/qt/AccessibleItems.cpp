#include "tests/app/qt/AccessibleItems.h"

#include <QVariant>
#include <algorithm>

namespace vintra {
namespace {

void addVisible(QQuickItem* item, std::vector<QQuickItem*>& to) {
    if (!item->isVisible()) return;
    to.push_back(item);
    for (QQuickItem* child : item->childItems())
        addVisible(child, to);
}

bool isControl(QAccessible::Role role) {
    switch (role) {
    case QAccessible::Button:
    case QAccessible::CheckBox:
    case QAccessible::RadioButton:
    case QAccessible::ComboBox:
    case QAccessible::EditableText:
    case QAccessible::SpinBox:
    case QAccessible::Link:
    case QAccessible::ListItem:
    case QAccessible::MenuItem:
        return true;
    default:
        return false;
    }
}

} // namespace

std::vector<QQuickItem*> visibleItems(const QQuickWindow& window) {
    std::vector<QQuickItem*> items;
    addVisible(window.contentItem(), items);
    return items;
}

QString accessibleName(QQuickItem* item) {
    QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(item);
    return interface ? interface->text(QAccessible::Name) : QString();
}

QAccessible::Role accessibleRole(QQuickItem* item) {
    QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(item);
    return interface ? interface->role() : QAccessible::NoRole;
}

QQuickItem* control(const QQuickWindow& window, const QString& name) {
    for (QQuickItem* item : visibleItems(window)) {
        if (isControl(accessibleRole(item)) && accessibleName(item) == name) return item;
    }
    return nullptr;
}

QQuickItem* named(const QQuickWindow& window, const QString& name) {
    for (QQuickItem* item : visibleItems(window)) {
        if (accessibleName(item) == name) return item;
    }
    return nullptr;
}

bool shows(const QQuickWindow& window, const QString& text) {
    const auto items = visibleItems(window);
    return std::ranges::any_of(items, [&](QQuickItem* item) {
        return item->property("text").toString() == text || accessibleName(item) == text;
    });
}

} // namespace vintra

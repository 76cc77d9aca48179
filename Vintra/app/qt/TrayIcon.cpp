#include "Vintra/app/qt/TrayIcon.h"

#include "Vintra/app/qt/DesignPalette.h"
#include "Vintra/app/qt/QtStrings.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QSvgRenderer>

namespace vintra {
namespace {

/// GNOME's bar is dark whatever the colours of windows are; other bars have theirs.
QColor barColor() {
    if (qEnvironmentVariable("XDG_CURRENT_DESKTOP").contains("GNOME")) return qColor(DesignColor::text);
    return QGuiApplication::palette().color(QPalette::WindowText);
}

} // namespace

QIcon trayIcon(const MenuBarItem::Icon& icon) {
    QSvgRenderer renderer(":/qt/qml/Vintra/icons/" + qString(icon.systemImage) + ".svg");
    const QColor color = icon.isRed ? qColor(DesignColor::meterRed) : barColor();
    QIcon result;
    for (const int side : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), color);
        result.addPixmap(pixmap);
    }
    return result;
}

} // namespace vintra

#pragma once

#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// What lies behind every window: `DesignColor::windowBackground`. It is painted once for each size. Main thread; it
/// is painted on the thread that draws.
class WindowGround : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT

public:
    explicit WindowGround(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;
};

} // namespace vintra

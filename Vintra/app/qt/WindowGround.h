#pragma once

#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// What lies behind every window: `DesignColor::windowBackground`. It is painted once for each size. Main thread; it
/// is painted on the thread that draws.
class WindowGround : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double radius READ radius WRITE setRadius NOTIFY radiusChanged)

public:
    explicit WindowGround(QQuickItem* parent = nullptr);

    double radius() const { return radius_; } ///< of its corners, which are see-through
    void setRadius(double newRadius);
    void paint(QPainter* painter) override;

Q_SIGNALS:
    void radiusChanged();

private:
    double radius_ = 0;
};

} // namespace vintra

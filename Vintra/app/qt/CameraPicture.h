#pragma once

#include "Vintra/app/qt/CameraFeed.h"

#include <QPointer>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// Shows a camera's pictures, the whole of each. Main thread.
class CameraPicture : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(vintra::CameraFeed* feed READ feed WRITE setFeed NOTIFY feedChanged REQUIRED)

public:
    explicit CameraPicture(QQuickItem* parent = nullptr);

    CameraFeed* feed() const { return source; }
    void setFeed(CameraFeed* newFeed);
    void paint(QPainter* painter) override;

Q_SIGNALS:
    void feedChanged();

protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

private:
    void tellSize();

    QPointer<CameraFeed> source;
};

} // namespace vintra

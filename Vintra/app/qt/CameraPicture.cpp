#include "Vintra/app/qt/CameraPicture.h"

#include <QPainter>
#include <QQuickWindow>

namespace vintra {

CameraPicture::CameraPicture(QQuickItem* parent)
    : QQuickPaintedItem(parent) {
    setFillColor(Qt::black);
    setOpaquePainting(true);
}

void CameraPicture::setFeed(CameraFeed* newFeed) {
    if (source == newFeed) return;
    if (source) source->disconnect(this);
    source = newFeed;
    if (source) connect(source, &CameraFeed::pictureChanged, this, [this] { update(); });
    tellSize();
    Q_EMIT feedChanged();
}

void CameraPicture::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    tellSize();
}

void CameraPicture::tellSize() {
    const double scale = window() ? window()->effectiveDevicePixelRatio() : 1;
    if (source) source->setSize((size() * scale).toSize());
}

void CameraPicture::paint(QPainter* painter) {
    if (!source || source->picture().isNull()) return;
    const QImage& image = source->picture();
    QRectF place({}, QSizeF(image.size()).scaled(boundingRect().size(), Qt::KeepAspectRatio));
    place.moveCenter(boundingRect().center());
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(place, image);
}

} // namespace vintra

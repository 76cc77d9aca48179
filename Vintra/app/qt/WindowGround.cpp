#include "Vintra/app/qt/WindowGround.h"

#include "Vintra/app/DesignColor.h"
#include "Vintra/app/qt/DesignPalette.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

/// Pixels of the window to one of the picture of the glow, which is smooth.
constexpr int kCoarseness = 2;

struct Light {
    double red = 0;
    double green = 0;
    double blue = 0; ///< each times the opacity
    double opacity = 0;
};

Light lightOf(const DesignTone& tone) {
    const QColor color = qColor(tone);
    return {color.redF() * tone.opacity, color.greenF() * tone.opacity, color.blueF() * tone.opacity,
            tone.opacity};
}

double mixed(double from, double to, double part) {
    return from + (to - from) * part;
}

/// Where a position lies between two stops: the index of the second, and the part of the way to it.
template <typename Stops>
std::pair<size_t, double> between(const Stops& stops, double position) {
    for (size_t n = 1; n < stops.size(); ++n) {
        if (position > stops[n].position) continue;
        const double length = stops[n].position - stops[n - 1].position;
        return {n, std::clamp((position - stops[n - 1].position) / length, 0.0, 1.0)};
    }
    return {stops.size() - 1, 1.0};
}

Light glowAt(double distance) {
    const auto& stops = DesignColor::windowBackground.glow;
    const auto [index, part] = between(stops, distance);
    const Light from = lightOf(stops[index - 1].color);
    const Light to = lightOf(stops[index].color);
    return {mixed(from.red, to.red, part), mixed(from.green, to.green, part), mixed(from.blue, to.blue, part),
            mixed(from.opacity, to.opacity, part)};
}

double maskAt(double position) {
    const auto& stops = DesignColor::windowBackground.mask;
    const auto [index, part] = between(stops, position);
    return mixed(stops[index - 1].opacity, stops[index].opacity, part);
}

QImage groundOf(int width, int height) {
    const auto& ground = DesignColor::windowBackground;
    const QColor base = qColor(ground.ground);
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        const double v = (y + 0.5) / height;
        const double dy = (v - ground.centerY) / ground.endRadiusFraction;
        const double mask = maskAt(v);
        for (int x = 0; x < width; ++x) {
            const double dx = ((x + 0.5) / width - ground.centerX) / ground.endRadiusFraction;
            const Light light = glowAt(std::sqrt(dx * dx + dy * dy));
            const double rest = 1 - light.opacity * mask;
            const auto value = [&](double under, double over) {
                return static_cast<int>(std::lround((under * rest + over * mask) * 255));
            };
            line[x] = qRgb(value(base.redF(), light.red), value(base.greenF(), light.green),
                           value(base.blueF(), light.blue));
        }
    }
    return image;
}

} // namespace

WindowGround::WindowGround(QQuickItem* parent)
    : QQuickPaintedItem(parent) {
    setOpaquePainting(true);
}

void WindowGround::setRadius(double newRadius) {
    if (radius_ == newRadius) return;
    radius_ = newRadius;
    setOpaquePainting(radius_ <= 0);
    update();
    Q_EMIT radiusChanged();
}

void WindowGround::paint(QPainter* painter) {
    const QSize size = boundingRect().size().toSize();
    if (size.isEmpty()) return;
    painter->setRenderHints(QPainter::SmoothPixmapTransform | QPainter::Antialiasing);
    if (radius_ > 0) {
        QPainterPath outline;
        outline.addRoundedRect(boundingRect(), radius_, radius_);
        painter->setClipPath(outline);
    }
    painter->drawImage(boundingRect(), groundOf(std::max(1, size.width() / kCoarseness),
                                                std::max(1, size.height() / kCoarseness)));
}

} // namespace vintra

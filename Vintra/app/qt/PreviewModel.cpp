#include "Vintra/app/qt/PreviewModel.h"

#include "Vintra/app/qt/QtStrings.h"

#include <utility>

namespace vintra {

PreviewModel::PreviewModel(const Platform& platform, QObject* parent)
    : QObject(parent)
    , view({})
    , cameraFeed(platform) {}

void PreviewModel::setContent(FloatingPreviewContent content) {
    cameraFeed.setSession(content.session);
    view.setContent(std::move(content));
    Q_EMIT changed();
}

QStringList PreviewModel::pills() const {
    QStringList titles;
    for (const WebcamPreviewView::Pill& pill : view.state().pills)
        titles.append(qString(pill.title));
    return titles;
}

QStringList PreviewModel::pillNames() const {
    QStringList names;
    for (const WebcamPreviewView::Pill& pill : view.state().pills)
        names.append(qString(pill.name));
    return names;
}

int PreviewModel::chosenPill() const {
    const auto pills = view.state().pills;
    for (size_t n = 0; n < pills.size(); ++n) {
        if (pills[n].isChosen) return static_cast<int>(n);
    }
    return -1;
}

void PreviewModel::setHovering(bool hovering) {
    view.setHovering(hovering);
    Q_EMIT changed();
}

void PreviewModel::pick(int pill) {
    if (pill >= 0) view.pick(static_cast<size_t>(pill));
}

void PreviewModel::move() {
    if (onMove) onMove();
}

void PreviewModel::resizeTo(double width) {
    if (onResize) onResize(width);
}

} // namespace vintra

#include "Vintra/app/qt/PanelModel.h"

#include "Vintra/app/qt/QtStrings.h"

namespace vintra {

PanelModel::PanelModel(MenuBarItem& item, TakeControl& take, QObject* parent)
    : QObject(parent)
    , item(item)
    , statusModel(item.status)
    , buttonModel(take, [&item] { item.toggleRecording(); })
    , observation(item.update.observe([this](const MenuBarItem::Update&) { Q_EMIT changed(); })) {}

QString PanelModel::updateTitle() const {
    return qString(item.update->title);
}

QString PanelModel::updateDetail() const {
    return qString(item.update->detail);
}

} // namespace vintra

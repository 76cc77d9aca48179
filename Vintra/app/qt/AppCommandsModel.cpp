#include "Vintra/app/qt/AppCommandsModel.h"

#include <utility>

namespace vintra {

AppCommandsModel::AppCommandsModel(AppCommands& commands, Actions actions, QObject* parent)
    : QObject(parent)
    , commands(commands)
    , actions(std::move(actions)) {
    const auto tell = [this](bool) { Q_EMIT changed(); };
    observations.push_back(commands.canCheckForUpdates.observe(tell));
    observations.push_back(commands.canRemove.observe(tell));
}

void AppCommandsModel::checkForUpdates() {
    if (canCheckForUpdates()) actions.checkForUpdates();
}

void AppCommandsModel::remove() {
    if (canRemove()) actions.remove();
}

} // namespace vintra

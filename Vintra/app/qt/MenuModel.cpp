#include "Vintra/app/qt/MenuModel.h"

#include "Vintra/app/qt/QtStrings.h"

#include <utility>

namespace vintra {

MenuModel::MenuModel(std::function<void(const std::string&)> onChosen, QObject* parent)
    : QObject(parent)
    , onChosen(std::move(onChosen)) {}

void MenuModel::show(const MenuState& newState) {
    if (state == newState) return;
    state = newState;
    Q_EMIT changed();
}

QStringList MenuModel::titles() const {
    QStringList titles;
    for (const MenuOption& option : state.options)
        titles.append(qString(option.title));
    return titles;
}

int MenuModel::index() const {
    for (size_t n = 0; n < state.options.size(); ++n) {
        if (state.options[n].id == state.selectedID) return static_cast<int>(n);
    }
    return -1;
}

QString MenuModel::title() const {
    return qString(state.title());
}

void MenuModel::choose(int option) {
    if (option < 0 || static_cast<size_t>(option) >= state.options.size()) return;
    // What is chosen may change the options.
    const std::string id = state.options[static_cast<size_t>(option)].id;
    onChosen(id);
}

} // namespace vintra

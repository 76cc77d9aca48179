#pragma once

#include "Vintra/app/MenuState.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>
#include <functional>

namespace vintra {

/// A menu for `FlatMenu`. Owned by the model of its row. Main thread.
class MenuModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(QStringList titles READ titles NOTIFY changed)
    Q_PROPERTY(int index READ index NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(bool isEnabled READ isEnabled NOTIFY changed)

public:
    /// `onChosen` is told the id of an option that the user chooses.
    explicit MenuModel(std::function<void(const std::string&)> onChosen, QObject* parent = nullptr);

    void show(const MenuState& newState);
    QStringList titles() const;
    int index() const; ///< -1 if what is chosen isn't offered
    QString title() const;
    bool isEnabled() const { return state.isEnabled; }
    Q_INVOKABLE void choose(int option);

Q_SIGNALS:
    void changed();

private:
    const std::function<void(const std::string&)> onChosen;
    MenuState state;
};

} // namespace vintra

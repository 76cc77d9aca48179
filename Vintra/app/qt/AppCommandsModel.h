#pragma once

#include "Vintra/app/AppCommands.h"
#include "Vintra/platform/Observation.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <functional>
#include <vector>

namespace vintra {

/// The commands about the program itself, for the menus that show them. Owned by `QtProgram`. Main thread.
class AppCommandsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString menuTitle READ menuTitle CONSTANT)
    Q_PROPERTY(QString aboutTitle READ aboutTitle CONSTANT)
    Q_PROPERTY(QString acknowledgementsTitle READ acknowledgementsTitle CONSTANT)
    Q_PROPERTY(QString checkTitle READ checkTitle CONSTANT)
    Q_PROPERTY(QString removeTitle READ removeTitle CONSTANT)
    Q_PROPERTY(bool canCheckForUpdates READ canCheckForUpdates NOTIFY changed)
    Q_PROPERTY(bool canRemove READ canRemove NOTIFY changed)

public:
    struct Actions {
        std::function<void()> about;
        std::function<void()> acknowledgements;
        std::function<void()> checkForUpdates;
        std::function<void()> remove;
    };
    /// The commands outlive this.
    AppCommandsModel(AppCommands& commands, Actions actions, QObject* parent = nullptr);

    QString menuTitle() const { return "Vintra"; }
    QString aboutTitle() const { return AppCommands::kAbout; }
    QString acknowledgementsTitle() const { return AppCommands::kAcknowledgements; }
    QString checkTitle() const { return AppCommands::kCheckForUpdates; }
    QString removeTitle() const { return AppCommands::kRemove; }
    bool canCheckForUpdates() const { return *commands.canCheckForUpdates; }
    bool canRemove() const { return *commands.canRemove; }

    Q_INVOKABLE void showAbout() { actions.about(); }
    Q_INVOKABLE void showAcknowledgements() { actions.acknowledgements(); }
    Q_INVOKABLE void checkForUpdates();
    Q_INVOKABLE void remove();

Q_SIGNALS:
    void changed();

private:
    AppCommands& commands;
    const Actions actions;
    std::vector<Observation> observations;
};

} // namespace vintra

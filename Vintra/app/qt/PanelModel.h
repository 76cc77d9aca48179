#pragma once

#include "Vintra/app/MenuBarItem.h"
#include "Vintra/app/qt/RecordButtonModel.h"
#include "Vintra/app/qt/StatusIndicatorModel.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// The tray item's panel for its QML file. Owned by `TrayItem`. Main thread.
class PanelModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the tray item")
    Q_PROPERTY(vintra::StatusIndicatorModel* status READ status CONSTANT)
    Q_PROPERTY(vintra::RecordButtonModel* recordButton READ recordButton CONSTANT)
    Q_PROPERTY(QString updateTitle READ updateTitle NOTIFY changed)
    Q_PROPERTY(QString updateDetail READ updateDetail NOTIFY changed)
    Q_PROPERTY(QString openTitle READ openTitle CONSTANT)
    Q_PROPERTY(QString quitTitle READ quitTitle CONSTANT)

public:
    /// Both outlive this.
    PanelModel(MenuBarItem& item, TakeControl& take, QObject* parent = nullptr);

    StatusIndicatorModel* status() { return &statusModel; }
    RecordButtonModel* recordButton() { return &buttonModel; }
    QString updateTitle() const; ///< empty without an update
    QString updateDetail() const;
    QString openTitle() const { return MenuBarItem::kOpen; }
    QString quitTitle() const { return MenuBarItem::kQuit; }
    Q_INVOKABLE void showUpdate() { item.showUpdate(); }
    Q_INVOKABLE void openMainWindow() { item.openMainWindow(); }
    Q_INVOKABLE void quit() { item.quit(); }

Q_SIGNALS:
    void changed();

private:
    MenuBarItem& item;
    StatusIndicatorModel statusModel;
    RecordButtonModel buttonModel;
    Observation observation;
};

} // namespace vintra

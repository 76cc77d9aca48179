#pragma once

#include "Vintra/app/StatusStrip.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// The status line for the QML file that draws it. Owned by `MainWindowModel`. Main thread.
class StatusStripModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(QString error READ error NOTIFY changed)
    Q_PROPERTY(bool isCard READ isCard NOTIFY changed)
    Q_PROPERTY(QString copyTitle READ copyTitle NOTIFY changed)
    Q_PROPERTY(QString copyHelp READ copyHelp CONSTANT)

public:
    /// The strip outlives this.
    explicit StatusStripModel(StatusStrip& strip, QObject* parent = nullptr);

    QString message() const;
    QString error() const;
    bool isCard() const { return strip.state->isCard(); }
    QString copyTitle() const;
    QString copyHelp() const { return StatusStrip::kCopyHelp; }
    Q_INVOKABLE void copyDiagnostics() { strip.copyDiagnostics(); }

Q_SIGNALS:
    void changed();

private:
    StatusStrip& strip;
    Observation observation;
};

} // namespace vintra

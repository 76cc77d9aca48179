#pragma once

#include "Vintra/app/TakeControl.h"
#include "Vintra/app/qt/DesignPalette.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <functional>

namespace vintra {

/// The record button, for the QML files that draw it. Owned by the model of the window. Main thread.
class RecordButtonModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(bool isEnabled READ isEnabled NOTIFY changed)
    Q_PROPERTY(vintra::DesignPalette::ButtonStyle style READ style NOTIFY changed)

public:
    /// The control outlives this. `onPressed` starts or stops a take.
    RecordButtonModel(TakeControl& take, std::function<void()> onPressed, QObject* parent = nullptr);

    QString title() const;
    bool isEnabled() const { return take.footerButton->isEnabled; }
    DesignPalette::ButtonStyle style() const;
    Q_INVOKABLE void press() { onPressed(); }

Q_SIGNALS:
    void changed();

private:
    TakeControl& take;
    const std::function<void()> onPressed;
    Observation observation;
};

} // namespace vintra

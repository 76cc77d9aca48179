#pragma once

#include "Vintra/app/StatusIndicator.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// The dot with its words, for the QML files that draw them. Owned by the model of the window. Main thread.
class StatusIndicatorModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString time READ time NOTIFY changed)

public:
    /// The indicator outlives this.
    explicit StatusIndicatorModel(StatusIndicator& indicator, QObject* parent = nullptr);

    bool isRecording() const { return indicator.state->isRecording; }
    QString text() const;
    QString time() const; ///< empty without a take

Q_SIGNALS:
    void changed();

private:
    StatusIndicator& indicator;
    Observation observation;
};

} // namespace vintra

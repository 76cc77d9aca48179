#pragma once

#include "Vintra/app/UpdateWindow.h"
#include "Vintra/app/qt/DialogModel.h"

namespace vintra {

/// The update window for its QML file. Owned by `QtUpdateWindow`. Main thread.
class UpdateModel : public DialogModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString releaseNotes READ releaseNotes NOTIFY changed)
    Q_PROPERTY(bool hasProgress READ hasProgress NOTIFY changed)
    Q_PROPERTY(bool isIndeterminate READ isIndeterminate NOTIFY changed)
    Q_PROPERTY(double fraction READ fraction NOTIFY changed)

public:
    /// The window outlives this.
    explicit UpdateModel(UpdateWindow& window, QObject* parent = nullptr);

    void show(const UpdateWindow::State& newState);

    QString releaseNotes() const; ///< empty: there is no field for it
    bool hasProgress() const { return state.progress != UpdateWindow::Progress::none; }
    bool isIndeterminate() const { return state.progress == UpdateWindow::Progress::indeterminate; }
    double fraction() const { return state.fraction; }

private:
    UpdateWindow::State state;
};

} // namespace vintra

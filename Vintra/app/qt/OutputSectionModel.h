#pragma once

#include "Vintra/app/OutputSection.h"
#include "Vintra/app/qt/MenuModel.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// Where a take goes, for the QML file that draws it. Owned by `MainWindowModel`. Main thread.
class OutputSectionModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString sessionNameLabel READ sessionNameLabel CONSTANT)
    Q_PROPERTY(QString sessionName READ sessionName NOTIFY changed)
    Q_PROPERTY(bool isSessionNameEnabled READ isSessionNameEnabled NOTIFY changed)
    Q_PROPERTY(QString folderLabel READ folderLabel CONSTANT)
    Q_PROPERTY(QString folder READ folder NOTIFY changed)
    Q_PROPERTY(QString folderNote READ folderNote NOTIFY changed)
    Q_PROPERTY(QString showTitle READ showTitle NOTIFY changed)
    Q_PROPERTY(bool isShowEnabled READ isShowEnabled NOTIFY changed)
    Q_PROPERTY(QString chooseTitle READ chooseTitle CONSTANT)
    Q_PROPERTY(QString timelineLabel READ timelineLabel CONSTANT)
    Q_PROPERTY(QString timelineHelp READ timelineHelp CONSTANT)
    Q_PROPERTY(vintra::MenuModel* timeline READ timeline CONSTANT)

public:
    /// The section outlives this.
    explicit OutputSectionModel(OutputSection& section, QObject* parent = nullptr);

    QString title() const { return OutputSection::kTitle; }
    QString sessionNameLabel() const { return OutputSection::kSessionName; }
    QString sessionName() const;
    bool isSessionNameEnabled() const { return section.state->isSessionNameEnabled; }
    QString folderLabel() const { return OutputSection::kFolder; }
    QString folder() const;
    QString folderNote() const;
    QString showTitle() const;
    bool isShowEnabled() const { return section.state->isShowEnabled; }
    QString chooseTitle() const { return OutputSection::kChoose; }
    QString timelineLabel() const { return OutputSection::kTimeline; }
    QString timelineHelp() const { return OutputSection::kTimelineHelp; }
    MenuModel* timeline() { return &timelineMenu; }

    Q_INVOKABLE void setSessionName(const QString& name);
    Q_INVOKABLE void showFolder() { section.showFolder(); }
    Q_INVOKABLE void chooseFolder() { section.chooseOutputFolder(); }

Q_SIGNALS:
    void changed();

private:
    OutputSection& section;
    MenuModel timelineMenu;
    Observation observation;
};

} // namespace vintra

#pragma once

#include "Vintra/app/AboutPanel.h"
#include "Vintra/app/AppCommands.h"
#include "Vintra/app/ContentView.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <utility>

namespace vintra {

/// The panel about the program for its QML file. Owned by `QtInformationWindows`. Main thread.
class AboutModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString windowTitle READ windowTitle CONSTANT)
    Q_PROPERTY(QString logoImage READ logoImage CONSTANT)
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString credits READ credits CONSTANT)
    Q_PROPERTY(double creditsSize READ creditsSize CONSTANT)

public:
    explicit AboutModel(AboutPanel::Content content, QObject* parent = nullptr)
        : QObject(parent)
        , content(std::move(content)) {}

    QString windowTitle() const { return AppCommands::kAbout; }
    QString logoImage() const { return ContentView::kLogoImage; }
    QString name() const { return QString::fromStdString(content.name); }
    QString version() const { return QString::fromStdString(content.version); }
    QString credits() const { return QString::fromStdString(content.credits); }
    double creditsSize() const { return AboutPanel::kCreditsSize; }

private:
    const AboutPanel::Content content;
};

} // namespace vintra

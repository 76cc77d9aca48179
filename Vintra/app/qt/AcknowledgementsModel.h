#pragma once

#include "Vintra/app/AcknowledgementsView.h"

#include <QObject>
#include <QQuickTextDocument>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// The window with the licences for its QML file. Owned by `QtInformationWindows`. Main thread.
class AcknowledgementsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString windowTitle READ windowTitle CONSTANT)
    Q_PROPERTY(QString text READ text CONSTANT)
    Q_PROPERTY(QString fixedFamily READ fixedFamily CONSTANT)
    Q_PROPERTY(double textSize READ textSize CONSTANT)
    Q_PROPERTY(double width READ width CONSTANT)
    Q_PROPERTY(double height READ height CONSTANT)

public:
    explicit AcknowledgementsModel(const AcknowledgementsView& view, QObject* parent = nullptr);

    QString windowTitle() const { return AcknowledgementsView::kTitle; }
    QString text() const; ///< each run is a paragraph
    QString fixedFamily() const;
    double textSize() const { return AcknowledgementsView::kTextSize; }
    double width() const { return AcknowledgementsView::kWidth; }
    double height() const { return AcknowledgementsView::kHeight; }
    /// Gives the lines and the headings in the document, which shows `text`, their looks.
    Q_INVOKABLE void layOut(QQuickTextDocument* document) const;

private:
    const AcknowledgementsView view;
};

} // namespace vintra

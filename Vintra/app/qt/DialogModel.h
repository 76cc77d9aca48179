#pragma once

#include "Vintra/app/qt/DesignPalette.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>
#include <cstddef>
#include <functional>

namespace vintra {

/// A window that says something and asks for a decision, for its QML file. Owned by whoever shows the window. Main
/// thread.
class DialogModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString windowTitle READ windowTitle NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(bool isWarning READ isWarning NOTIFY changed)
    Q_PROPERTY(QStringList buttons READ buttons NOTIFY buttonsChanged)
    Q_PROPERTY(bool hasDefault READ hasDefault NOTIFY changed)

public:
    struct Content {
        QString windowTitle{};
        QString title{};
        QString text{};
        bool isWarning = false;
        QStringList buttons{};
        bool hasDefault = true; ///< the keyboard's focus is on the first button
        bool operator==(const Content&) const = default;
    };
    struct Actions {
        std::function<void(size_t button)> press;
        std::function<void()> close; ///< the window's own close button, or Escape
    };
    explicit DialogModel(Actions actions, QObject* parent = nullptr);

    void show(const Content& newContent);

    QString windowTitle() const { return content.windowTitle; }
    QString title() const { return content.title; }
    QString text() const { return content.text; }
    bool isWarning() const { return content.isWarning; }
    QStringList buttons() const { return content.buttons; } ///< the default one first
    bool hasDefault() const { return content.hasDefault; }
    /// Of the button with that index.
    Q_INVOKABLE vintra::DesignPalette::ButtonStyle style(int button) const;
    /// The second press of a double click does nothing: what stands there by then may be another button.
    Q_INVOKABLE void press(int button);
    Q_INVOKABLE void close() { actions.close(); }

Q_SIGNALS:
    void changed();
    void buttonsChanged();

private:
    const Actions actions;
    Content content;
    QElapsedTimer sincePress;
};

} // namespace vintra

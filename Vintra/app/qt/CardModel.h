#pragma once

#include "Vintra/app/Card.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace vintra {

class Cards;
class FeedbackAsk;

/// A card for the QML file that draws it. Owned by `CardsModel`. Main thread.
class CardModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QStringList buttons READ buttons NOTIFY changed)
    Q_PROPERTY(bool hasCloseMark READ hasCloseMark NOTIFY changed)
    Q_PROPERTY(QString finePrint READ finePrint NOTIFY changed)
    Q_PROPERTY(QString placeholder READ placeholder NOTIFY changed)
    Q_PROPERTY(QString note READ note WRITE setNote NOTIFY changed)

public:
    /// Both outlive this.
    CardModel(Cards& cards, FeedbackAsk& feedbackAsk, QObject* parent = nullptr);

    void show(const Card& newCard);
    Card::Kind kind() const { return card.kind; }

    QString title() const;
    QString text() const;
    QStringList buttons() const; ///< their titles
    bool hasCloseMark() const { return card.hasCloseMark; }
    QString finePrint() const;
    QString placeholder() const; ///< of the text field, which there is if this isn't empty
    QString note() const;
    void setNote(const QString& note);

    Q_INVOKABLE QString buttonHelp(int button) const;
    Q_INVOKABLE bool isButtonFilled(int button) const;
    Q_INVOKABLE void press(int button);
    Q_INVOKABLE void close();

Q_SIGNALS:
    void changed();

private:
    Card::Button button(int index) const;

    Cards& cards;
    FeedbackAsk& feedbackAsk;
    Card card;
};

} // namespace vintra

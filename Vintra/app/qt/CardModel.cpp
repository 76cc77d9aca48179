#include "Vintra/app/qt/CardModel.h"

#include "Vintra/app/Cards.h"
#include "Vintra/app/qt/QtStrings.h"
#include "Vintra/take/FeedbackAsk.h"

namespace vintra {

CardModel::CardModel(Cards& cards, FeedbackAsk& feedbackAsk, QObject* parent)
    : QObject(parent)
    , cards(cards)
    , feedbackAsk(feedbackAsk) {}

void CardModel::show(const Card& newCard) {
    if (card == newCard) return;
    card = newCard;
    Q_EMIT changed();
}

QString CardModel::title() const {
    return qString(card.title);
}

QString CardModel::text() const {
    return qString(card.text);
}

QString CardModel::finePrint() const {
    return qString(card.finePrint);
}

QString CardModel::placeholder() const {
    return qString(card.placeholder);
}

QString CardModel::note() const {
    return qString(*feedbackAsk.note);
}

void CardModel::setNote(const QString& note) {
    feedbackAsk.note.set(note.toStdString());
}

Card::Button CardModel::button(int index) const {
    const bool isThere = index >= 0 && static_cast<size_t>(index) < card.buttons.size();
    return isThere ? card.buttons[static_cast<size_t>(index)] : Card::Button{};
}

QStringList CardModel::buttons() const {
    QStringList titles;
    for (const Card::Button& each : card.buttons)
        titles.append(qString(each.title));
    return titles;
}

QString CardModel::buttonHelp(int index) const {
    return qString(button(index).help);
}

bool CardModel::isButtonFilled(int index) const {
    return button(index).isFilled;
}

void CardModel::press(int index) {
    if (index >= 0) cards.press(card.kind, static_cast<size_t>(index));
}

void CardModel::close() {
    cards.close(card.kind);
}

} // namespace vintra

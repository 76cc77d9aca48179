#include "Vintra/app/qt/CardsModel.h"

#include "Vintra/app/Cards.h"

#include <QQmlEngine>
#include <algorithm>
#include <utility>

namespace vintra {

CardsModel::CardsModel(Cards& cards, FeedbackAsk& feedbackAsk, QObject* parent)
    : QAbstractListModel(parent)
    , cards(cards)
    , feedbackAsk(feedbackAsk) {
    show(*cards.cards);
    observation = cards.cards.observe([this](const std::vector<Card>& current) { show(current); });
}

CardsModel::~CardsModel() = default;

int CardsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(models.size());
}

QVariant CardsModel::data(const QModelIndex& index, int role) const {
    if (role != CardRole || !checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
    return QVariant::fromValue(models[static_cast<size_t>(index.row())].get());
}

QHash<int, QByteArray> CardsModel::roleNames() const {
    return {{CardRole, "card"}};
}

/// Cards come in the order of their kinds, so that one that comes or goes moves no other.
void CardsModel::show(const std::vector<Card>& current) {
    for (size_t n = models.size(); n-- > 0;) {
        if (std::ranges::find(current, models[n]->kind(), &Card::kind) != current.end()) continue;
        const int row = static_cast<int>(n);
        beginRemoveRows({}, row, row);
        CardModel* const gone = models[n].release();
        models.erase(models.begin() + row);
        endRemoveRows();
        gone->setParent(this);
        gone->deleteLater();
    }
    for (size_t n = 0; n < current.size(); ++n) {
        if (n < models.size() && models[n]->kind() == current[n].kind) {
            models[n]->show(current[n]);
            continue;
        }
        auto model = std::make_unique<CardModel>(cards, feedbackAsk);
        QQmlEngine::setObjectOwnership(model.get(), QQmlEngine::CppOwnership);
        model->show(current[n]);
        beginInsertRows({}, static_cast<int>(n), static_cast<int>(n));
        models.insert(models.begin() + static_cast<std::ptrdiff_t>(n), std::move(model));
        endInsertRows();
    }
}

} // namespace vintra

#pragma once

#include "Vintra/app/qt/CardModel.h"
#include "Vintra/platform/Observation.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>
#include <memory>
#include <vector>

namespace vintra {

/// The cards for the list that shows them. Owned by `MainWindowModel`. Main thread.
class CardsModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")

public:
    enum Role { CardRole = Qt::UserRole };

    /// Both outlive this.
    CardsModel(Cards& cards, FeedbackAsk& feedbackAsk, QObject* parent = nullptr);
    ~CardsModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    void show(const std::vector<Card>& current);

    Cards& cards;
    FeedbackAsk& feedbackAsk;
    std::vector<std::unique_ptr<CardModel>> models; ///< in the order of their kinds
    Observation observation;
};

} // namespace vintra

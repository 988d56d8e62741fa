#pragma once

#include <QAbstractListModel>

namespace korvex::offline_mode {

/// The languages to choose from, in their fixed order; the row is the number of the language.
class ComboBoxLanguageDataModel : public QAbstractListModel
{
    Q_OBJECT

public:
    int rowCount(const QModelIndex& parent = {}) const override;
    /// The role "name": the English name, which InternationalizationController translates.
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
};

} // namespace korvex::offline_mode

#include "offline_mode/combo_box_language_data_model.h"

#include <array>

namespace korvex::offline_mode {

namespace {

constexpr std::array kNames = {
    QT_TRANSLATE_NOOP("korvex::offline_mode::InternationalizationController", "English"),
    QT_TRANSLATE_NOOP("korvex::offline_mode::InternationalizationController", "Polish"),
    QT_TRANSLATE_NOOP("korvex::offline_mode::InternationalizationController", "German"),
};

} // namespace

int ComboBoxLanguageDataModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(kNames.size());
}

QVariant ComboBoxLanguageDataModel::data(const QModelIndex& index, int role) const
{
    if (role != Qt::DisplayRole ||
        !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    return QString::fromLatin1(kNames[static_cast<std::size_t>(index.row())]);
}

QHash<int, QByteArray> ComboBoxLanguageDataModel::roleNames() const
{
    return {{Qt::DisplayRole, "name"}};
}

} // namespace korvex::offline_mode

#include "core/language.h"

#include <QTranslator>

namespace korvex {

const std::map<QString, int>& languageNumbers()
{
    static const std::map<QString, int> numbers = {
        {QStringLiteral("de_DE"), 2}, {QStringLiteral("en_US"), 0}, {QStringLiteral("pl_PL"), 1}};
    return numbers;
}

const std::map<int, QString>& languageCodes()
{
    static const std::map<int, QString> codes = [] {
        std::map<int, QString> result;
        for (const auto& [code, number] : languageNumbers())
            result.emplace(number, code);
        return result;
    }();
    return codes;
}

bool loadLanguage(QTranslator& translator, const QString& code)
{
    return translator.load(QStringLiteral(":/i18n/korvexLogin_") + code);
}

} // namespace korvex

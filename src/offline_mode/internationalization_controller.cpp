#include "offline_mode/internationalization_controller.h"

#include "core/language.h"
#include "core/log.h"

#include <QCoreApplication>
#include <QTranslator>

namespace korvex::offline_mode {

namespace {

int languageOf(const QTranslator& translator)
{
    const auto& numbers = languageNumbers();
    const auto entry = numbers.find(translator.language());
    // Without a translation the screen shows the English texts of the code.
    return entry != numbers.end() ? entry->second : numbers.at(QStringLiteral("en_US"));
}

} // namespace

InternationalizationController::InternationalizationController(QTranslator& translator)
    : m_translator(translator)
    , m_language(languageOf(translator))
{}

void InternationalizationController::setSelectedLanguage(int language)
{
    const auto entry = languageCodes().find(language);
    if (language == m_language || entry == languageCodes().end())
        return;
    if (QTranslator trial; loadLanguage(trial, entry->second)) {
        QCoreApplication::removeTranslator(&m_translator);
        loadLanguage(m_translator, entry->second);
        QCoreApplication::installTranslator(&m_translator);
        m_language = language;
    } else {
        logger().logError(QStringLiteral("Cannot load the language ") + entry->second);
    }
    // Also for a language that stays: the selector shows the other one already.
    emit selectedLanguageChanged();
}

QString InternationalizationController::translate(const QString& message) const
{
    return tr(message.toUtf8().constData());
}

} // namespace korvex::offline_mode

#include "offline_mode/internationalization_controller.h"

#include "core/language.h"
#include "core/log.h"
#include "offline_mode/offline_mode_controller.h"

#include <QCoreApplication>
#include <QTranslator>

namespace korvex::offline_mode {

namespace {

int languageOf(const QTranslator& translator)
{
    // Without a translation the texts are the English ones of the code.
    const auto entry = languageNumbers().find(translator.language());
    return entry == languageNumbers().end() ? OfflineModeController::English : entry->second;
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
    QCoreApplication::removeTranslator(&m_translator);
    if (!loadLanguage(m_translator, entry->second))
        logger().logError(QStringLiteral("Cannot load the language ") + entry->second);
    QCoreApplication::installTranslator(&m_translator);
    m_language = language;
    emit selectedLanguageChanged();
}

QString InternationalizationController::translate(const QString& message) const
{
    return tr(message.toUtf8().constData());
}

} // namespace korvex::offline_mode

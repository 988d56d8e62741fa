#include "entry/language.h"

#include "core/log.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>
#include <array>

namespace korvex {

namespace {

constexpr std::array kSupportedLanguages = {"de_DE", "en_US", "pl_PL"};

QString firstPart(const QString& code)
{
    return code.section(QLatin1Char('_'), 0, 0);
}

bool load(QTranslator& translator, const QString& code)
{
    return translator.load(QStringLiteral(":/i18n/korvexLogin_") + code);
}

bool install(QTranslator& translator, const QString& code)
{
    return load(translator, code) && QCoreApplication::installTranslator(&translator);
}

} // namespace

QString chooseLanguage(const QStringList& uiLanguages)
{
    for (const QString& entry : uiLanguages) {
        const QString language = firstPart(QLocale(entry).name());
        for (const QString code : kSupportedLanguages) {
            if (firstPart(code) != language)
                continue;
            if (QTranslator scratch; load(scratch, code))
                return code;
            break;
        }
    }
    return {};
}

void installLanguage(QTranslator& translator)
{
    const QString code = chooseLanguage(QLocale::system().uiLanguages());
    if (!code.isEmpty()) {
        // No English in its place here, on purpose: the texts then stay as they are in the code.
        if (!install(translator, code))
            logger().log(1, QStringLiteral("The current system language cannot be load"));
        return;
    }
    logger().log(1, QStringLiteral("The current system language cannot be found"));
    if (!install(translator, QStringLiteral("en_US")))
        logger().log(1, QStringLiteral("Cannot load English language"));
}

} // namespace korvex

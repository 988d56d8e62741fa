#include "entry/language.h"

#include "core/language.h"
#include "core/log.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

namespace korvex {

namespace {

QString firstPart(const QString& code)
{
    return code.section(QLatin1Char('_'), 0, 0);
}

bool install(QTranslator& translator, const QString& code)
{
    return loadLanguage(translator, code) && QCoreApplication::installTranslator(&translator);
}

} // namespace

QString chooseLanguage(const QStringList& uiLanguages)
{
    for (const QString& entry : uiLanguages) {
        const QString language = firstPart(QLocale(entry).name());
        for (const auto& [code, number] : languageNumbers()) {
            if (firstPart(code) != language)
                continue;
            if (QTranslator scratch; loadLanguage(scratch, code))
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
        // Deliberately without another try: the texts in the code are English already.
        if (!install(translator, code))
            logger().log(1, QStringLiteral("The current system language cannot be load"));
        return;
    }
    logger().log(1, QStringLiteral("The current system language cannot be found"));
    if (!install(translator, QStringLiteral("en_US")))
        logger().log(1, QStringLiteral("Cannot load English language"));
}

} // namespace korvex

#include "web/accept_language.h"

namespace korvex {

QByteArray acceptLanguage(const QStringList& uiLanguages)
{
    const QString tag = uiLanguages.value(0, QStringLiteral("en-US"));
    const QString primary = tag.left(tag.indexOf(QLatin1Char('-')));
    if (primary == QLatin1String("en"))
        return QString(tag + QStringLiteral(",en;q=0.9")).toLatin1();
    // A tag without a region deliberately names its language twice.
    return QString(tag + QStringLiteral(",%1;q=0.9,en-US;q=0.8,en;q=0.7").arg(primary)).toLatin1();
}

} // namespace korvex

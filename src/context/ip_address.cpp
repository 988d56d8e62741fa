#include "context/ip_address.h"

#include <QRegularExpression>
#include <QString>

namespace korvex {

namespace {

// IPv4, then IPv6 by the number of groups before the "::", the zone suffix last.
constexpr char kPattern[] =
    R"(((^\s*((([0-9]|[1-9][0-9]|1[0-9]{2}|2[0-4][0-9]|25[0-5])\.){3}([0-9]|[1-9][0-9])"
    R"(|1[0-9]{2}|2[0-4][0-9]|25[0-5]))\s*$))"
    R"(|(^\s*((([0-9A-Fa-f]{1,4}:){7}([0-9A-Fa-f]{1,4}|:)))"
    R"(|(([0-9A-Fa-f]{1,4}:){6}(:[0-9A-Fa-f]{1,4}|((25[0-5]|2[0-4]\d|1\d\d)"
    R"(|[1-9]?\d)(\.(25[0-5]|2[0-4]\d|1\d\d|[1-9]?\d)){3})|:)))"
    R"(|(([0-9A-Fa-f]{1,4}:){5}(((:[0-9A-Fa-f]{1,4}){1,2})|:((25[0-5]|2[0-4]\d|1\d\d)"
    R"(|[1-9]?\d)(\.(25[0-5]|2[0-4]\d|1\d\d|[1-9]?\d)){3})|:)))"
    R"(|(([0-9A-Fa-f]{1,4}:){4}(((:[0-9A-Fa-f]{1,4}){1,3})|((:[0-9A-Fa-f]{1,4})?:((25[0-5])"
    R"(|2[0-4]\d|1\d\d|[1-9]?\d)(\.(25[0-5]|2[0-4]\d|1\d\d|[1-9]?\d)){3}))|:)))"
    R"(|(([0-9A-Fa-f]{1,4}:){3}(((:[0-9A-Fa-f]{1,4}){1,4}))"
    R"(|((:[0-9A-Fa-f]{1,4}){0,2}:((25[0-5]|2[0-4]\d|1\d\d|[1-9]?\d)(\.(25[0-5]|2[0-4]\d)"
    R"(|1\d\d|[1-9]?\d)){3}))|:)))"
    R"(|(([0-9A-Fa-f]{1,4}:){2}(((:[0-9A-Fa-f]{1,4}){1,5}))"
    R"(|((:[0-9A-Fa-f]{1,4}){0,3}:((25[0-5]|2[0-4]\d|1\d\d|[1-9]?\d)(\.(25[0-5]|2[0-4]\d)"
    R"(|1\d\d|[1-9]?\d)){3}))|:)))"
    R"(|(([0-9A-Fa-f]{1,4}:){1}(((:[0-9A-Fa-f]{1,4}){1,6}))"
    R"(|((:[0-9A-Fa-f]{1,4}){0,4}:((25[0-5]|2[0-4]\d|1\d\d|[1-9]?\d)(\.(25[0-5]|2[0-4]\d)"
    R"(|1\d\d|[1-9]?\d)){3}))|:)))"
    R"(|(:(((:[0-9A-Fa-f]{1,4}){1,7})|((:[0-9A-Fa-f]{1,4}){0,5}:((25[0-5]|2[0-4]\d|1\d\d)"
    R"(|[1-9]?\d)(\.(25[0-5]|2[0-4]\d|1\d\d|[1-9]?\d)){3}))|:)))(%.+)?\s*$)))";

} // namespace

bool isValidIpAddress(const QString& text)
{
    // Only white space may follow a line break. The pattern refuses the rest too, but for a long
    // zone suffix it first tries every way to divide it.
    if (text.trimmed().contains(QLatin1Char('\n')))
        return false;
    static const QRegularExpression pattern(QString::fromLatin1(kPattern));
    return pattern.match(text).hasMatch();
}

} // namespace korvex

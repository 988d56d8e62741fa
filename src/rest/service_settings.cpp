#include "rest/service_settings.h"

#include "core/settings.h"

namespace korvex {

namespace {

constexpr int kDefaultTimeout = 20000;

} // namespace

QString apiServer()
{
    return mainKey()
        .readString(QStringLiteral("korvexApiServer"))
        .value_or(QStringLiteral(KORVEX_DEFAULT_API_SERVER));
}

int requestTimeout()
{
    const int timeout =
        mainKey().readNumber(QStringLiteral("RequestTimeout")).value_or(kDefaultTimeout);
    // Qt reads 0 as "no time-out", and a service that does not answer would then block the sign-in.
    return timeout > 0 ? timeout : kDefaultTimeout;
}

} // namespace korvex

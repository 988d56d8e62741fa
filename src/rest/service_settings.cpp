#include "rest/service_settings.h"

#include "core/settings.h"

namespace korvex {

QString apiServer()
{
    // The catalogue's default is deliberately no address, so the stored value is read here.
    return mainKey()
        .readString(definitionOf(Setting::KorvexApiServer).name)
        .value_or(QStringLiteral(KORVEX_DEFAULT_API_SERVER));
}

int requestTimeout()
{
    const int timeout = readNumber(Setting::RequestTimeout);
    // Qt takes 0 for "wait for ever", which would lock the user out behind a silent service.
    return timeout > 0 ? timeout : definitionOf(Setting::RequestTimeout).defaultValue.toInt();
}

} // namespace korvex

#include "core/logon_input.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace korvex {

LogonInput parseLogonInput(const QString& json)
{
    QString doubled = json;
    doubled.replace(QLatin1String("\\"), QLatin1String("\\\\"));
    const QJsonObject members = QJsonDocument::fromJson(doubled.toUtf8()).object();
    return {.user = members.value(QLatin1String("user")).toString(),
            .ip = members.value(QLatin1String("ip")).toString()};
}

} // namespace korvex

#include "core/logon_input.h"

#include "core/user_registry_data.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace korvex {

namespace {

LogonInput& currentInput()
{
    static LogonInput instance;
    return instance;
}

} // namespace

const LogonInput& logonInput()
{
    return currentInput();
}

QJsonDocument parseLogonInput(const QString& json)
{
    QString doubled = json;
    doubled.replace(QLatin1String("\\"), QLatin1String("\\\\"));
    return QJsonDocument::fromJson(doubled.toUtf8());
}

void beginSignIn(const QJsonDocument& input)
{
    const QJsonObject members = input.object();
    currentInput() = {members.value(QLatin1String("user")).toString(),
                      members.value(QLatin1String("ip")).toString()};
    forgetUserRegistryData();
}

} // namespace korvex

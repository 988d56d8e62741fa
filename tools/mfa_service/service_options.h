#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

namespace korvex::mfa_service {

struct ServiceOptions
{
    QString systemToken{};
    QString secretKey{};
    QString companyName = QStringLiteral("Example Company");
    /// The company's logo, any image file; the built-in one when empty.
    QByteArray companyLogo{};
    /// Port on 127.0.0.1; 0 takes any free one.
    quint16 port = 0;
    /// HTTPS with a certificate that is made at the start.
    bool https = false;
    /// Accept any user name; a new one gets a random TOTP secret.
    bool openEnrollment = true;

    /// Seconds since 1970; the system's clock when empty.
    std::function<qint64()> clock{};
    /// Gets one line per request, without ids and secrets. Called on the service's threads.
    std::function<void(const QString& line)> log{};
    /// The stand-in for the user's authenticator app: gets the current code whenever a sign-in
    /// starts or a code was wrong. Called on the service's threads.
    std::function<void(const QString& user, const QString& code)> codeReady{};
};

} // namespace korvex::mfa_service

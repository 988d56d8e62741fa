#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

namespace korvex::mfa_service {

/// One request as it was received.
struct Request
{
    QByteArray method{};
    QString path{};
    QMap<QByteArray, QByteArray> headers{}; ///< names in lower case
    QByteArray body{};
    int remotePort = 0; ///< the same for two requests on one connection

    /// The path without what is random in it: "/signin" for a page, "/signin/code" for the code
    /// that a page sends, else the path itself.
    QString route() const
    {
        const QString prefix = QStringLiteral("/signin/");
        if (!path.startsWith(prefix))
            return path;
        return path.endsWith(QLatin1String("/code")) ? prefix + QStringLiteral("code")
                                                     : QStringLiteral("/signin");
    }
};

} // namespace korvex::mfa_service

#include "core/user_folder.h"

#include "core/current_sign_in.h"
#include "platform/paths.h"

#include <QCryptographicHash>
#include <QDir>

namespace korvex {

QString userFolderName(const QString& sid)
{
    if (sid.isEmpty())
        return QStringLiteral("unknown_user");
    const QByteArray digest = QCryptographicHash::hash(sid.toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.toHex().left(7));
}

QString userStorageDirectory()
{
    const QString cache = platform::dataRoot() + QDir::separator() + QStringLiteral("Cache");
    return cache + QDir::separator() + userFolderName(logonInput().sid);
}

QString webStorageDirectory()
{
    return userStorageDirectory() + QDir::separator() + QStringLiteral("QtWebEngine");
}

} // namespace korvex

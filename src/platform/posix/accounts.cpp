#include "platform/accounts.h"

#include "platform/posix/user_sid.h"

#include <QByteArray>
#include <array>
#include <cerrno>
#include <climits>
#include <optional>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace korvex::platform {

namespace {

constexpr std::size_t kMaximumEntrySize = std::size_t{1024} * 1024;

std::optional<uid_t> userId(const QByteArray& name)
{
    std::vector<char> buffer(4096);
    for (;;) {
        passwd entry{};
        passwd* found = nullptr;
        const int error =
            ::getpwnam_r(name.constData(), &entry, buffer.data(), buffer.size(), &found);
        if (error == EINTR)
            continue;
        if (error == ERANGE && buffer.size() < kMaximumEntrySize) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (error != 0 || found == nullptr)
            return std::nullopt;
        return entry.pw_uid;
    }
}

bool isThisMachine(const QString& domain)
{
    return domain == QLatin1String(".") ||
           domain.compare(computerName().value_or(QString()), Qt::CaseInsensitive) == 0;
}

} // namespace

QString userSid(uid_t user)
{
    return QStringLiteral("S-1-22-1-%1").arg(user);
}

std::expected<QString, SidError> accountSid(const QString& account)
{
    const int separator = account.indexOf(QLatin1Char('\\'));
    if (separator >= 0 && !isThisMachine(account.left(separator)))
        return std::unexpected(SidError::AccountNotFound);
    const auto user = userId(account.mid(separator + 1).toLocal8Bit());
    if (!user)
        return std::unexpected(SidError::AccountNotFound);
    return userSid(*user);
}

QString joinedDomain()
{
    return {};
}

std::expected<QString, quint32> computerName()
{
    std::array<char, HOST_NAME_MAX + 1> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0)
        return std::unexpected(static_cast<quint32>(errno));
    return QString::fromLocal8Bit(name.data()).section(QLatin1Char('.'), 0, 0);
}

} // namespace korvex::platform

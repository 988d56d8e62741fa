#include "context/identity.h"

#include "core/log.h"
#include "core/logon_input.h"
#include "core/settings.h"

#include <QRegularExpression>
#include <algorithm>
#include <future>
#include <utility>

namespace korvex {

namespace {

/// A command that takes a name unchanged, between quotes. It runs with the rights of the logon
/// process, and the name is what was typed at the logon screen.
struct Command
{
    const char* text = nullptr;
    /// What would end the quotes or change what is looked for. Windows PowerShell takes typographic
    /// quotes for plain ones.
    QStringView breaking;
};

constexpr QStringView kBreaksSearch = u"\"\u201c\u201d\u201e`$";
constexpr QStringView kBreaksName = u"\"'\u2018\u2019\u201a\u201b`*?[]";

constexpr Command kUserNameCommand{
    R"(-NoProfile -Command "([adsisearcher]\"(userprincipalname=%1)\").FindOne().Properties.samaccountname")",
    kBreaksSearch};
constexpr Command kLocalMailCommand{
    R"(-NoProfile -Command "(Get-LocalUser -Name '%1').Description")", kBreaksName};

/// A query for an account's address in the directory, and what the log says of it.
struct DirectoryQuery
{
    Command command;
    const char* failed = nullptr;
    const char* found = nullptr;    ///< followed by the address
    const char* notFound = nullptr; ///< an answer that is no address
    const char* output = nullptr;   ///< followed by that answer
};

constexpr DirectoryQuery kUpnQuery{
    {R"(-NoProfile -Command "([adsisearcher]\"(samaccountname=%1)\").FindOne().Properties.userprincipalname")",
     kBreaksSearch},
    "[GetUPN] Failed to get an UPN from Active Directory",
    "[GetUPN] Found UPN: ",
    "[GetUPN] No UPN found, which means that an UPN is either invalid or not defined for the user",
    "[GetUPN] output: "};
constexpr DirectoryQuery kMailQuery{
    {R"(-NoProfile -Command "([adsisearcher]\"(samaccountname=%1)\").FindOne().Properties.mail")",
     kBreaksSearch},
    "[GetUserEmail] Failed to get an email address from Active Directory",
    "[GetUserEmail] Found user email: ",
    "[GetUserEmail] No email address found, which means that an email is either invalid or not "
    "defined for the user",
    "[GetUserEmail] output: "};

/// What PowerShell answers; nothing when it failed or was not asked.
std::optional<QString> askPowerShell(const ProcessRunner& runner, const Command& command,
                                     const QString& name)
{
    const bool breaks = std::any_of(name.begin(), name.end(), [&command](QChar c) {
        return c.category() == QChar::Other_Control || command.breaking.contains(c);
    });
    if (breaks) {
        logger().logWarning(0, QStringLiteral("Name not looked up, it holds a character that would "
                                              "change the command: ") +
                                   name);
        return std::nullopt;
    }
    QString output;
    QString errors;
    if (!runner(QStringLiteral("PowerShell"), QString::fromLatin1(command.text).arg(name), output,
                errors))
        return std::nullopt;
    return output;
}

/// A name as a value of a directory's search filter, by RFC 4515.
QString escapedForSearch(const QString& name)
{
    QString escaped;
    for (const QChar c : name)
        if (QStringView(u"()*\\").contains(c))
            escaped += QStringLiteral("\\%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            escaped += c;
    return escaped;
}

/// The address that the directory knows; empty, with the query's line in the log, when there is
/// none.
QString askDirectory(const ProcessRunner& runner, const QString& directory,
                     const DirectoryQuery& query, const QString& user)
{
    if (directory.isEmpty()) {
        // The text says [GetUPN] for both queries; this is deliberate.
        logger().logWarning(
            0, QStringLiteral("[GetUPN] Active Directory has not been detected on this machine. We "
                              "recommend disabling the Active Directory-related options in "
                              "Windows Registry."));
        return {};
    }
    const auto output = askPowerShell(runner, query.command, escapedForSearch(user));
    if (!output) {
        logger().logError(QLatin1String(query.failed));
        return {};
    }
    if (isEmail(*output)) {
        logger().log(0, QLatin1String(query.found) + *output);
        return *output;
    }
    logger().log(1, QLatin1String(query.notFound));
    logger().log(2, QLatin1String(query.output) + *output);
    return {};
}

} // namespace

bool isEmail(const QString& text)
{
    static const QRegularExpression pattern(
        QStringLiteral("^[A-Za-z0-9._%+-]+@[A-Za-z0-9.-]+\\.[A-Za-z]{2,}$"),
        QRegularExpression::CaseInsensitiveOption);
    return pattern.match(text).hasMatch();
}

AccountLookups AccountLookups::ofThisMachine()
{
    return {platform::joinedDomain, platform::computerName};
}

IdentityResolver::IdentityResolver(AccountLookups lookups, ProcessRunner runner)
    : m_lookups(std::move(lookups))
    , m_runner(std::move(runner))
{}

Identity IdentityResolver::resolve(const LogonInput& input)
{
    Identity identity;
    identity.user = input.user;
    identity.ip = input.ip;
    identity.rdpMode = !input.ip.isEmpty();
    const QLatin1Char backslash('\\');
    identity.userName = identity.user.mid(identity.user.lastIndexOf(backslash) + 1);
    if (identity.user.contains(backslash))
        identity.domain = identity.user.left(identity.user.indexOf(backslash));

    if (isEmail(identity.userName))
        resolveEmailUser(identity);
    if (identity.domain.isEmpty())
        identity.domain = readDirectoryName();
    if (identity.domain.isEmpty())
        identity.domain = computerName();
    if (identity.userEmail.isEmpty() && readBool(Setting::SendUpn))
        lookUpEmail(identity, input.sid);
    return identity;
}

void IdentityResolver::resolveEmailUser(Identity& identity)
{
    const QString upn = identity.userName;
    identity.userEmail = upn;
    const QString found = findUsernameByUpn(upn);
    if (!found.isEmpty()) {
        identity.userName = found;
        return;
    }
    const QLatin1Char at('@');
    if (identity.domain.isEmpty() || identity.domain == QLatin1String("AzureAD"))
        identity.domain = upn.mid(upn.lastIndexOf(at) + 1);
    identity.userName = upn.left(upn.indexOf(at));
}

void IdentityResolver::lookUpEmail(Identity& identity, const QString& sid)
{
    const bool local = isLocalUser(identity);
    const QString user = identity.userName;
    directoryName(); // read here, so that the lookups only share what no longer changes

    auto directory = std::async(std::launch::async, [this, local, user] {
        if (local)
            return QString();
        const QString upn = getUpn(user);
        return isEmail(upn) ? upn : getEmailFromDirectory(user);
    });
    auto accounts = std::async(std::launch::async, [this, local, user, sid] {
        if (!local)
            return QString();
        QString email = getGcpwEmail(sid);
        if (email.isEmpty())
            email = getMicrosoftAccountEmail(sid);
        return email.isEmpty() ? getLocalUserEmail(user) : email;
    });
    identity.userEmail = directory.get();
    const QString ofAccount = accounts.get();
    if (identity.userEmail.isEmpty())
        identity.userEmail = ofAccount;
}

std::optional<QString> IdentityResolver::nameToSend(const Identity& identity)
{
    const bool sendNtlm = readBool(Setting::SendNtlm);
    if (readBool(Setting::SendUpn)) {
        // An absent sendNTLM counts as set, so this is deliberately logged for it too.
        if (sendNtlm)
            logger().logWarning(1, QStringLiteral("Both 'sendUPN' and 'sendNTLM' options are "
                                                  "defined, only 'sendUPN' will be used"));
        return identity.userEmail.isEmpty() ? std::nullopt : std::optional(identity.userEmail);
    }
    if (sendNtlm && !identity.domain.isEmpty() && identity.domain != QLatin1String("."))
        return identity.domain + QLatin1Char('\\') + identity.userName;
    return identity.userName;
}

QString IdentityResolver::findUsernameByUpn(const QString& upn)
{
    logger().log(1, QStringLiteral("Trying to find username by UPN..."));
    if (!directoryName().isEmpty()) {
        const auto output = askPowerShell(m_runner, kUserNameCommand, escapedForSearch(upn));
        if (!output) {
            logger().logError(QStringLiteral("Failed to find username by UPN"));
            return {};
        }
        if (!output->isEmpty()) {
            logger().log(0, QStringLiteral("Found user: ") + *output);
            m_cachedUpn = upn;
            return *output;
        }
    }
    m_cachedUpn = upn;
    logger().log(1, QStringLiteral("Username not found. Treating given email as Azure Active "
                                   "Directory user..."));
    return {};
}

QString IdentityResolver::getUpn(const QString& user)
{
    logger().log(1, QStringLiteral("[GetUPN] Trying to get UPN for a user: ") + user);
    if (!m_cachedUpn.isEmpty()) {
        logger().log(0, QStringLiteral("[GetUPN] UPN found in cache: ") + m_cachedUpn);
        return m_cachedUpn;
    }
    return askDirectory(m_runner, directoryName(), kUpnQuery, user);
}

QString IdentityResolver::getEmailFromDirectory(const QString& user)
{
    logger().log(1, QStringLiteral("[GetUserEmail] Trying to get email address from Active "
                                   "Directory for a user: ") +
                        user);
    return askDirectory(m_runner, directoryName(), kMailQuery, user);
}

QString IdentityResolver::getLocalUserEmail(const QString& user) const
{
    const QString account = user.section(QLatin1Char('@'), 0, 0);
    logger().log(1,
                 QStringLiteral("[GetUserEmail] Trying to get email address for a local user: ") +
                     account);
    const auto output = askPowerShell(m_runner, kLocalMailCommand, account);
    if (!output) {
        logger().log(1, QStringLiteral("[GetUserEmail] Failed to get a local email"));
        return {};
    }
    if (isEmail(*output)) {
        logger().log(0, QStringLiteral("[GetUserEmail] Found local user email: ") + *output);
        return *output;
    }
    logger().log(1, QStringLiteral("[GetUserEmail] No local email found, which means that a local "
                                   "email is either invalid or not defined for the user"));
    return {};
}

QString IdentityResolver::getGcpwEmail(const QString& sid)
{
    if (sid.isEmpty())
        return {};
    const platform::RegistryKey key(
        QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Google\\GCPW\\Users\\") + sid);
    QString email = key.readString(QStringLiteral("email")).value_or(QString());
    if (!isEmail(email))
        return {};
    logger().log(0, QStringLiteral("[GetUserEmail] Found GCPW user email: ") + email);
    return email;
}

QString IdentityResolver::getMicrosoftAccountEmail(const QString& sid)
{
    if (sid.isEmpty())
        return {};
    const platform::RegistryKey key(
        QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\"
                       "Authentication\\Credential Providers\\"
                       "{D6886603-9D2F-4EB2-B667-1971041FA96B}\\%1\\UserNames")
            .arg(sid));
    QString email = key.subKeys().value(0).section(QLatin1Char('\\'), 0, 0);
    if (!isEmail(email))
        return {};
    logger().log(0, QStringLiteral("[GetUserEmail] Found MicrosoftLive user email: ") + email);
    return email;
}

QString IdentityResolver::readDirectoryName() const
{
    logger().log(1, QStringLiteral("Reading Active Directory name..."));
    if (m_directoryName && !m_directoryName->isEmpty())
        return *m_directoryName;
    return m_lookups.joinedDomain();
}

const QString& IdentityResolver::directoryName()
{
    if (!m_directoryName)
        m_directoryName = readDirectoryName();
    return *m_directoryName;
}

QString IdentityResolver::computerName() const
{
    const auto name = m_lookups.computerName();
    if (name)
        return *name;
    logger().logError(QStringLiteral("Failed to read computer name, error: %1").arg(name.error()));
    return {};
}

bool IdentityResolver::isLocalUser(const Identity& identity) const
{
    return identity.domain.toLower() == computerName().toLower();
}

} // namespace korvex

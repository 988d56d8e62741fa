#pragma once

#include "context/process_runner.h"
#include "platform/accounts.h"

#include <QString>
#include <expected>
#include <functional>
#include <optional>

namespace korvex {

struct LogonInput;

/// Who signs in, as the service is told.
struct Identity
{
    QString user;         ///< as the credential provider gave it
    QString userName;     ///< without the domain
    QString domain;       ///< empty, "." or a name
    QString userEmail;    ///< e-mail address or UPN; empty when none is known
    QString ip;           ///< address of the remote client; may be empty
    bool rdpMode = false; ///< a remote-desktop sign-in: `ip` is not empty
};

/// Whether a text is an e-mail address: letters of either case, a dot in the domain.
bool isEmail(const QString& text);

/// What identity resolution asks of the system about accounts; a test answers from a table.
struct AccountLookups
{
    std::function<QString()> joinedDomain;
    std::function<std::expected<QString, quint32>()> computerName;

    /// The lookups of this machine.
    static AccountLookups ofThisMachine();
};

/// Works out who signs in: from Active Directory, local accounts and other credential providers.
/// Lives for one sign-in, and its cached UPN with it. A lookup that fails gives an empty text and
/// a log line.
class IdentityResolver
{
public:
    explicit IdentityResolver(AccountLookups lookups = AccountLookups::ofThisMachine(),
                              ProcessRunner runner = runProcess);

    /// The identity behind the credential provider's input. Blocks while programs are asked.
    Identity resolve(const LogonInput& input);

    /// The name that the service gets, as sendUPN and sendNTLM say; none with sendUPN for an
    /// identity without a UPN.
    static std::optional<QString> nameToSend(const Identity& identity);

    QString findUsernameByUpn(const QString& upn);
    QString getUpn(const QString& user);
    QString getEmailFromDirectory(const QString& user);
    QString getLocalUserEmail(const QString& user) const;
    static QString getGcpwEmail(const QString& sid);
    static QString getMicrosoftAccountEmail(const QString& sid);

private:
    QString readDirectoryName() const;
    const QString& directoryName();
    QString computerName() const;
    bool isLocalUser(const Identity& identity) const;
    void resolveEmailUser(Identity& identity);
    void lookUpEmail(Identity& identity, const QString& sid);

    AccountLookups m_lookups;
    ProcessRunner m_runner;
    std::optional<QString> m_directoryName; ///< read on first use; empty outside a directory
    QString m_cachedUpn;
};

} // namespace korvex

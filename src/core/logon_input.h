#pragma once

#include <QString>

namespace korvex {

/// Who signs in and from where, as the credential provider says it. Each may be empty.
struct LogonInput
{
    QString user{}; ///< account name, "DOMAIN\name" or e-mail address
    QString ip{};   ///< address of the remote client; empty for a console sign-in
    QString sid{};  ///< the account's SID, looked up by beginSignIn(); empty when there is none
};

/// Parses the credential provider's JSON. Every backslash is doubled first, because the account
/// name arrives with a raw one; a properly escaped backslash deliberately becomes two.
/// A malformed text gives empty members.
LogonInput parseLogonInput(const QString& json);

} // namespace korvex

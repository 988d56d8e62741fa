#pragma once

#include <QString>

class QJsonDocument;

namespace korvex {

/// Who signs in and from where, as the credential provider says it. Both may be empty.
struct LogonInput
{
    QString user; ///< account name, "DOMAIN\name" or e-mail address
    QString ip;   ///< address of the remote client; empty for a console sign-in
};

/// The input of the current sign-in. Written by beginSignIn() alone, before anything reads it.
const LogonInput& logonInput();

/// Parses the credential provider's JSON. Every backslash is doubled first, because the account
/// name arrives with a raw one; a properly escaped backslash so becomes two, on purpose.
/// A malformed text gives an empty document.
QJsonDocument parseLogonInput(const QString& json);

/// Fills the input anew and forgets what was cached for the sign-in before.
void beginSignIn(const QJsonDocument& input);

} // namespace korvex

#pragma once

#include <QString>
#include <expected>

namespace korvex::platform {

enum class SidError {
    AccountNotFound, ///< the system knows no such account
    NotConvertible,  ///< the account is known, its identifier has no text form
};

/// The security identifier of an account ("name" or "DOMAIN\name"), as text.
///
/// Windows: LookupAccountNameW on the local system and ConvertSidToStringSidW. Linux: the passwd
/// database, "S-1-22-1-" and the user id; a domain other than "." and the host name is unknown.
std::expected<QString, SidError> accountSid(const QString& account);

/// The NetBIOS name of the domain that the machine is joined to; empty for a workgroup, an unjoined
/// machine, a failed query, and always on Linux.
QString joinedDomain();

/// The machine's name (Windows: the NetBIOS name; Linux: the host name up to its first dot), or the
/// system's error number.
std::expected<QString, quint32> computerName();

} // namespace korvex::platform

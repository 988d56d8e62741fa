#include "platform/accounts.h"

#include "platform/windows/wide_text.h"

#include <vector>
#include <windows.h>
// After windows.h, which they rely on.
#include <lm.h>
#include <sddl.h>

namespace korvex::platform {

std::expected<QString, SidError> accountSid(const QString& account)
{
    // An empty name would be looked up as the machine itself.
    if (account.isEmpty())
        return std::unexpected(SidError::AccountNotFound);
    DWORD sidSize = 0;
    DWORD domainSize = 0;
    SID_NAME_USE use = SidTypeUnknown;
    if (LookupAccountNameW(nullptr, wideText(account), nullptr, &sidSize, nullptr, &domainSize,
                           &use) == FALSE &&
        GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return std::unexpected(SidError::AccountNotFound);
    std::vector<BYTE> sid(sidSize);
    std::vector<wchar_t> domain(domainSize);
    if (LookupAccountNameW(nullptr, wideText(account), sid.data(), &sidSize, domain.data(),
                           &domainSize, &use) == FALSE)
        return std::unexpected(SidError::AccountNotFound);

    LPWSTR text = nullptr;
    if (ConvertSidToStringSidW(sid.data(), &text) == FALSE)
        return std::unexpected(SidError::NotConvertible);
    QString result = QString::fromWCharArray(text);
    LocalFree(text);
    return result;
}

QString joinedDomain()
{
    LPWSTR name = nullptr;
    NETSETUP_JOIN_STATUS status = NetSetupUnknownStatus;
    if (NetGetJoinInformation(nullptr, &name, &status) != NERR_Success)
        return {};
    const QString domain = status == NetSetupDomainName ? QString::fromWCharArray(name) : QString();
    NetApiBufferFree(name);
    return domain;
}

std::expected<QString, quint32> computerName()
{
    // The first call gives the size with the terminating NUL, the second one the text.
    DWORD size = 0;
    if (GetComputerNameW(nullptr, &size) == FALSE && GetLastError() != ERROR_BUFFER_OVERFLOW)
        return std::unexpected(quint32{GetLastError()});
    std::vector<wchar_t> name(size);
    if (GetComputerNameW(name.data(), &size) == FALSE)
        return std::unexpected(quint32{GetLastError()});
    return QString::fromWCharArray(name.data(), static_cast<int>(size));
}

} // namespace korvex::platform

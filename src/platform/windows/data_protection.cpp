#include "platform/data_protection.h"

#include "platform/fault_report.h"

#include <QString>
#include <windows.h>
// After windows.h, which it relies on.
#include <dpapi.h>

namespace korvex::platform {

namespace {

constexpr int kMaximumSize = 1024 * 1024;
// More bytes than the system adds to the data.
constexpr int kMaximumOverhead = 64 * 1024;

/// For reading only, although the type is not const.
DATA_BLOB blobOf(const QByteArray& bytes)
{
    return {static_cast<DWORD>(bytes.size()),
            reinterpret_cast<BYTE*>(const_cast<char*>(bytes.constData()))};
}

/// Memory that the system has allocated; wiped and released at the end.
class SystemBlob
{
public:
    SystemBlob() = default;
    ~SystemBlob()
    {
        if (m_blob.pbData == nullptr)
            return;
        SecureZeroMemory(m_blob.pbData, m_blob.cbData);
        LocalFree(m_blob.pbData);
    }
    SystemBlob(const SystemBlob&) = delete;
    SystemBlob& operator=(const SystemBlob&) = delete;

    DATA_BLOB* get() { return &m_blob; }
    QByteArray bytes() const
    {
        return QByteArray(reinterpret_cast<const char*>(m_blob.pbData),
                          static_cast<int>(m_blob.cbData));
    }

private:
    DATA_BLOB m_blob{};
};

void reportLastError(const char* what)
{
    const DWORD error = GetLastError();
    // An altered or foreign blob is not a fault of the system.
    if (error != ERROR_INVALID_DATA)
        reportFault(QStringLiteral("%1: %2").arg(QLatin1String(what),
                                                 qt_error_string(static_cast<int>(error))));
}

} // namespace

// The flags are 0, even without the one that forbids a user interface, so that other programs that
// pass 0 can read these blobs and write ones that are read here.

std::optional<QByteArray> protectData(const QByteArray& plain)
{
    if (plain.size() > kMaximumSize)
        return std::nullopt;
    DATA_BLOB in = blobOf(plain);
    SystemBlob out;
    if (CryptProtectData(&in, nullptr, nullptr, nullptr, nullptr, 0, out.get()) == FALSE) {
        reportLastError("Data cannot be protected");
        return std::nullopt;
    }
    return out.bytes();
}

std::optional<QByteArray> unprotectData(const QByteArray& blob)
{
    if (blob.size() > kMaximumSize + kMaximumOverhead)
        return std::nullopt;
    DATA_BLOB in = blobOf(blob);
    SystemBlob out;
    if (CryptUnprotectData(&in, nullptr, nullptr, nullptr, nullptr, 0, out.get()) == FALSE) {
        reportLastError("Protected data cannot be read");
        return std::nullopt;
    }
    return out.bytes();
}

} // namespace korvex::platform

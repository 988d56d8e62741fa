#include "platform/registry.h"

#include "platform/fault_report.h"
#include "platform/windows/wide_text.h"

#include <array>
#include <utility>
#include <windows.h>

namespace korvex::platform {

namespace {

// The 64-bit view, whatever the process: the values are the machine's, not a program's.
constexpr REGSAM kView = KEY_WOW64_64KEY;
constexpr int kMaximumString = 512 * 1024; // UTF-16 units, 1 MiB
constexpr int kMaximumName = 255;

class KeyHandle
{
public:
    KeyHandle() = default;
    ~KeyHandle() { close(); }
    KeyHandle(KeyHandle&& other) noexcept
        : m_key(std::exchange(other.m_key, nullptr))
    {}
    KeyHandle& operator=(KeyHandle&& other) noexcept
    {
        if (this != &other) {
            close();
            m_key = std::exchange(other.m_key, nullptr);
        }
        return *this;
    }

    explicit operator bool() const { return m_key != nullptr; }
    HKEY get() const { return m_key; }
    /// For a call that opens a key.
    HKEY* out() { return &m_key; }

private:
    void close()
    {
        if (m_key != nullptr)
            RegCloseKey(m_key);
    }

    HKEY m_key = nullptr;
};

struct KeyLocation
{
    HKEY root;
    QString path;
};

void reportKeyFault(const QString& path, const char* what, LSTATUS status)
{
    reportFault(QStringLiteral("The registry key '%1' cannot be %2: %3")
                    .arg(path, QLatin1String(what), qt_error_string(static_cast<int>(status))));
}

std::optional<KeyLocation> locate(const QString& path)
{
    QStringList parts = path.split(QLatin1Char('\\'), Qt::SkipEmptyParts);
    const QString root = parts.isEmpty() ? QString() : parts.takeFirst();
    const QString below = parts.join(QLatin1Char('\\'));
    if (root.compare(QLatin1String("HKEY_LOCAL_MACHINE"), Qt::CaseInsensitive) == 0)
        return KeyLocation{HKEY_LOCAL_MACHINE, below};
    if (root.compare(QLatin1String("HKEY_CURRENT_USER"), Qt::CaseInsensitive) == 0)
        return KeyLocation{HKEY_CURRENT_USER, below};
    reportFault(QStringLiteral("'%1' cannot be the path of a registry key").arg(path));
    return std::nullopt;
}

bool isMissing(LSTATUS status)
{
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
}

/// Opens an existing key. The handle is empty when that fails, which is reported as a fault unless
/// the key is just missing.
KeyHandle openKey(const QString& path, REGSAM access)
{
    const auto location = locate(path);
    if (!location)
        return {};
    KeyHandle key;
    const LSTATUS status =
        RegOpenKeyExW(location->root, wideText(location->path), 0, access | kView, key.out());
    if (status == ERROR_SUCCESS)
        return key;
    if (!isMissing(status))
        reportKeyFault(path, "opened", status);
    return {};
}

/// Opens the key and makes it, with its parents, when it is missing.
KeyHandle createKey(const QString& path, REGSAM access)
{
    const auto location = locate(path);
    if (!location)
        return {};
    KeyHandle key;
    const LSTATUS status =
        RegCreateKeyExW(location->root, wideText(location->path), 0, nullptr,
                        REG_OPTION_NON_VOLATILE, access | kView, nullptr, key.out(), nullptr);
    if (status == ERROR_SUCCESS)
        return key;
    reportKeyFault(path, "made", status);
    return {};
}

struct Number
{
    DWORD type;
    quint64 value;
};

/// A REG_DWORD or REG_QWORD value of the right size.
std::optional<Number> readNumberValue(const QString& path, const QString& name)
{
    const KeyHandle key = openKey(path, KEY_QUERY_VALUE);
    if (!key)
        return std::nullopt;
    // A REG_DWORD fills the lower half.
    Number number{REG_NONE, 0};
    DWORD size = sizeof(number.value);
    const LSTATUS status = RegQueryValueExW(key.get(), wideText(name), nullptr, &number.type,
                                            reinterpret_cast<BYTE*>(&number.value), &size);
    if (status != ERROR_SUCCESS) {
        // Too long for a number, so it is of another type.
        if (!isMissing(status) && status != ERROR_MORE_DATA)
            reportKeyFault(path, "read", status);
        return std::nullopt;
    }
    const bool isNumber = (number.type == REG_DWORD && size == sizeof(DWORD)) ||
                          (number.type == REG_QWORD && size == sizeof(quint64));
    return isNumber ? std::optional(number) : std::nullopt;
}

bool writeValue(const QString& path, const QString& name, DWORD type, const void* data, DWORD size)
{
    const KeyHandle key = createKey(path, KEY_SET_VALUE);
    if (!key)
        return false;
    const LSTATUS status =
        RegSetValueExW(key.get(), wideText(name), 0, type, static_cast<const BYTE*>(data), size);
    if (status != ERROR_SUCCESS)
        reportKeyFault(path, "written", status);
    return status == ERROR_SUCCESS;
}

} // namespace

RegistryKey::RegistryKey(QString path)
    : m_path(std::move(path))
{}

std::optional<QString> RegistryKey::readString(const QString& name) const
{
    const KeyHandle key = openKey(m_path, KEY_QUERY_VALUE);
    if (!key)
        return std::nullopt;
    DWORD type = REG_NONE;
    DWORD size = 0;
    QString text;
    LSTATUS status = RegQueryValueExW(key.get(), wideText(name), nullptr, &type, nullptr, &size);
    // Another process may replace the value by a longer one between the two calls.
    for (int attempt = 0; attempt < 5; ++attempt) {
        if ((status != ERROR_SUCCESS && status != ERROR_MORE_DATA) || type != REG_SZ ||
            size > (kMaximumString + 1) * sizeof(QChar))
            break;
        // Read into the text itself, so that no second copy stays in memory. The text has one unit
        // more than asked for, for an odd last byte.
        const int units = static_cast<int>(size / sizeof(QChar)) + 1;
        text = QString(units, QChar(0));
        size = static_cast<DWORD>(units) * static_cast<DWORD>(sizeof(QChar));
        status = RegQueryValueExW(key.get(), wideText(name), nullptr, &type,
                                  reinterpret_cast<BYTE*>(text.data()), &size);
        if (status == ERROR_SUCCESS)
            break;
    }
    if (status != ERROR_SUCCESS) {
        if (!isMissing(status))
            reportKeyFault(m_path, "read", status);
        return std::nullopt;
    }
    if (type != REG_SZ || text.isNull())
        return std::nullopt;
    // Cut at the terminating NUL, which the writer of the value may have left out.
    text.truncate(static_cast<int>(size / sizeof(QChar)));
    if (const int end = text.indexOf(QChar(0)); end >= 0)
        text.truncate(end);
    return text;
}

std::optional<qint32> RegistryKey::readNumber(const QString& name) const
{
    const auto number = readNumberValue(m_path, name);
    if (!number || number->type != REG_DWORD)
        return std::nullopt;
    return static_cast<qint32>(static_cast<quint32>(number->value));
}

std::optional<qint64> RegistryKey::readNumber64(const QString& name) const
{
    const auto number = readNumberValue(m_path, name);
    return number ? std::optional(static_cast<qint64>(number->value)) : std::nullopt;
}

std::optional<bool> RegistryKey::readBool(const QString& name) const
{
    const auto number = readNumber(name);
    return number ? std::optional(*number != 0) : std::nullopt;
}

bool RegistryKey::writeString(const QString& name, const QString& value) const
{
    if (value.size() > kMaximumString) {
        reportFault(QStringLiteral("The value '%1' is too long for a registry").arg(name));
        return false;
    }
    const auto units = static_cast<DWORD>(value.size()) + 1; // with the terminating NUL
    return writeValue(m_path, name, REG_SZ, value.utf16(),
                      units * static_cast<DWORD>(sizeof(QChar)));
}

bool RegistryKey::writeNumber(const QString& name, qint32 value) const
{
    return writeValue(m_path, name, REG_DWORD, &value, sizeof(value));
}

bool RegistryKey::writeNumber64(const QString& name, qint64 value) const
{
    return writeValue(m_path, name, REG_QWORD, &value, sizeof(value));
}

QStringList RegistryKey::subKeys() const
{
    const KeyHandle key = openKey(m_path, KEY_ENUMERATE_SUB_KEYS);
    if (!key)
        return {};
    QStringList names;
    std::array<wchar_t, kMaximumName + 1> name{};
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(name.size());
        const LSTATUS status = RegEnumKeyExW(key.get(), index, name.data(), &length, nullptr,
                                             nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS)
            return names;
        if (status != ERROR_SUCCESS) {
            reportKeyFault(m_path, "listed", status);
            return {};
        }
        names.append(QString::fromWCharArray(name.data(), static_cast<int>(length)));
    }
}

} // namespace korvex::platform

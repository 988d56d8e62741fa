#include "platform/fault_recorder.h"
#include "platform/registry.h"
#include "platform/windows/wide_text.h"

#include <QUuid>
#include <QtTest>
#include <windows.h>

using korvex::platform::RegistryKey;
using korvex::platform::wideText;

namespace {

constexpr REGSAM kView = KEY_WOW64_64KEY;

/// A key of the registry itself, by the system's own calls; deleted at the end.
class RawKey
{
public:
    RawKey(HKEY root, const QString& path)
        : m_root(root)
        , m_path(path)
    {
        RegCreateKeyExW(root, wideText(path), 0, nullptr, 0, KEY_ALL_ACCESS | kView, nullptr,
                        &m_key, nullptr);
    }
    ~RawKey()
    {
        RegCloseKey(m_key);
        RegDeleteKeyExW(m_root, wideText(m_path), kView, 0);
    }
    RawKey(const RawKey&) = delete;
    RawKey& operator=(const RawKey&) = delete;

    bool write(const QString& name, DWORD type, const QByteArray& data) const
    {
        return RegSetValueExW(m_key, wideText(name), 0, type,
                              reinterpret_cast<const BYTE*>(data.constData()),
                              static_cast<DWORD>(data.size())) == ERROR_SUCCESS;
    }
    /// The type and the bytes of a value; REG_NONE when it is missing.
    std::pair<DWORD, QByteArray> read(const QString& name) const
    {
        DWORD type = REG_NONE;
        QByteArray data(100, '\0');
        auto size = static_cast<DWORD>(data.size());
        RegQueryValueExW(m_key, wideText(name), nullptr, &type,
                         reinterpret_cast<BYTE*>(data.data()), &size);
        return {type, data.left(static_cast<int>(size))};
    }

private:
    HKEY m_root;
    QString m_path;
    HKEY m_key = nullptr;
};

/// With the terminating NUL.
QByteArray bytesOf(const QString& text)
{
    return QByteArray(reinterpret_cast<const char*>(text.utf16()),
                      (text.size() + 1) * int(sizeof(QChar)));
}

} // namespace

/// What the registry of Windows does beyond that of Linux. Against the real registry, not
/// redirected.
class TestRegistryWindows : public QObject
{
    Q_OBJECT

private slots:
    void sixtyFourBitView();
    void valuesThatAreNone();
    void textWithoutItsEnd();
    void typesWritten();

private:
    QString m_name = QUuid::createUuid().toString(QUuid::WithoutBraces);
    RawKey m_raw{HKEY_CURRENT_USER, QStringLiteral("Software\\") + m_name};
    RegistryKey m_key{QStringLiteral("HKEY_CURRENT_USER\\Software\\") + m_name};
};

void TestRegistryWindows::sixtyFourBitView()
{
    // Only the machine's part of SOFTWARE has two views.
    const QString path = QStringLiteral("SOFTWARE\\") + m_name;
    const RawKey raw(HKEY_LOCAL_MACHINE, path);
    if (!raw.write("where", REG_SZ, bytesOf("64")))
        QSKIP("The account may not write to the machine's part of the registry.");
    QCOMPARE(RegistryKey(QStringLiteral("HKEY_LOCAL_MACHINE\\") + path).readString("where"),
             std::optional<QString>("64"));
}

void TestRegistryWindows::valuesThatAreNone()
{
    const std::pair<DWORD, QByteArray> values[] = {{REG_EXPAND_SZ, bytesOf("%SystemRoot%\\x")},
                                                   {REG_BINARY, QByteArray(4, '\1')},
                                                   {REG_DWORD, QByteArray(8, '\1')},
                                                   {REG_DWORD, QByteArray(100, '\1')},
                                                   {REG_QWORD, QByteArray(4, '\1')}};
    korvex::test::FaultRecorder faults;
    for (const auto& [type, data] : values) {
        QVERIFY(m_raw.write("value", type, data));
        QVERIFY(!m_key.readString("value"));
        QVERIFY(!m_key.readNumber("value"));
        QVERIFY(!m_key.readNumber64("value"));
    }
    QCOMPARE(faults.take(), QStringList());
}

void TestRegistryWindows::textWithoutItsEnd()
{
    const QByteArray text = bytesOf("bypass");
    for (const QByteArray& data : {text.chopped(2), text.chopped(2) + 'x', text + text}) {
        QVERIFY(m_raw.write("text", REG_SZ, data));
        QCOMPARE(m_key.readString("text"), std::optional(QStringLiteral("bypass")));
    }
    QVERIFY(m_raw.write("text", REG_SZ, QByteArray()));
    QCOMPARE(m_key.readString("text"), std::optional(QStringLiteral("")));
}

void TestRegistryWindows::typesWritten()
{
    using Value = std::pair<DWORD, QByteArray>;
    QVERIFY(m_key.writeString("text", QStringLiteral("%PATH% ż")));
    QCOMPARE(m_raw.read("text"), Value(REG_SZ, bytesOf(QStringLiteral("%PATH% ż"))));
    QVERIFY(m_key.writeNumber("narrow", -2));
    QCOMPARE(m_raw.read("narrow"), Value(REG_DWORD, "\xfe\xff\xff\xff"));
    QVERIFY(m_key.writeNumber64("wide", 0x0102030405060708));
    QCOMPARE(m_raw.read("Wide"), Value(REG_QWORD, "\x08\x07\x06\x05\x04\x03\x02\x01"));
}

QTEST_GUILESS_MAIN(TestRegistryWindows)

#include "tst_registry_windows.moc"

#include "platform/fault_recorder.h"
#include "platform/registry.h"
#include "platform/windows/wide_text.h"

#include <QUuid>
#include <QtTest>
#include <windows.h>

using korvex::platform::RegistryKey;
using korvex::platform::wideText;

namespace {

constexpr REGSAM kOtherView = KEY_WOW64_32KEY;
constexpr REGSAM kOurView = KEY_WOW64_64KEY;

/// A key of the registry itself, opened by the system's own calls; deleted with all below it at
/// the end, in both views.
class RawKey
{
public:
    RawKey(HKEY root, const QString& path)
        : m_root(root)
        , m_path(path)
    {}
    ~RawKey()
    {
        for (const REGSAM view : {kOurView, kOtherView})
            RegDeleteKeyExW(m_root, wideText(m_path), view, 0);
    }
    RawKey(const RawKey&) = delete;
    RawKey& operator=(const RawKey&) = delete;

    bool write(const QString& name, DWORD type, const void* data, int size,
               REGSAM view = kOurView) const
    {
        HKEY key = nullptr;
        if (RegCreateKeyExW(m_root, wideText(m_path), 0, nullptr, 0, KEY_SET_VALUE | view, nullptr,
                            &key, nullptr) != ERROR_SUCCESS)
            return false;
        const LSTATUS status = RegSetValueExW(
            key, wideText(name), 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
        RegCloseKey(key);
        return status == ERROR_SUCCESS;
    }
    bool write(const QString& name, DWORD type, const QByteArray& data) const
    {
        return write(name, type, data.constData(), data.size());
    }
    bool writeText(const QString& name, const QString& text, REGSAM view = kOurView) const
    {
        return write(name, REG_SZ, text.utf16(), (text.size() + 1) * int(sizeof(QChar)), view);
    }

    /// The type and the bytes of a value; REG_NONE and nothing when it is missing.
    std::pair<DWORD, QByteArray> read(const QString& name, REGSAM view = kOurView) const
    {
        HKEY key = nullptr;
        if (RegOpenKeyExW(m_root, wideText(m_path), 0, KEY_QUERY_VALUE | view, &key) !=
            ERROR_SUCCESS)
            return {REG_NONE, {}};
        DWORD type = REG_NONE;
        QByteArray data(4096, '\0');
        auto size = static_cast<DWORD>(data.size());
        const LSTATUS status = RegQueryValueExW(key, wideText(name), nullptr, &type,
                                                reinterpret_cast<BYTE*>(data.data()), &size);
        RegCloseKey(key);
        return status == ERROR_SUCCESS ? std::pair(type, data.left(static_cast<int>(size)))
                                       : std::pair(DWORD{REG_NONE}, QByteArray());
    }

private:
    HKEY m_root;
    QString m_path;
};

QByteArray bytesOf(const QString& text, bool terminated = true)
{
    return QByteArray(reinterpret_cast<const char*>(text.utf16()),
                      (text.size() + (terminated ? 1 : 0)) * int(sizeof(QChar)));
}

QString uniqueName()
{
    return QStringLiteral("Korvex test ") + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

} // namespace

/// What the registry of Windows does beyond that of Linux. Against the real registry, not
/// redirected.
class TestRegistryWindows : public QObject
{
    Q_OBJECT

private slots:
    void sixtyFourBitView();
    void valuesOfOtherTypes_data();
    void valuesOfOtherTypes();
    void malformedNumbers();
    void textWithoutItsEnd_data();
    void textWithoutItsEnd();
    void typesWritten();

private:
    QString m_name = uniqueName();
    RawKey m_raw{HKEY_CURRENT_USER, QStringLiteral("Software\\") + m_name};
    RegistryKey m_key{QStringLiteral("HKEY_CURRENT_USER\\Software\\") + m_name};
};

void TestRegistryWindows::sixtyFourBitView()
{
    // Only the machine's part of SOFTWARE has two views.
    const QString path = QStringLiteral("SOFTWARE\\") + uniqueName();
    const RawKey raw(HKEY_LOCAL_MACHINE, path);
    const RegistryKey key(QStringLiteral("HKEY_LOCAL_MACHINE\\") + path);
    if (!raw.writeText("where", "64", kOurView) || !raw.writeText("where", "32", kOtherView))
        QSKIP("The account may not write to the machine's part of the registry.");
    QVERIFY2(raw.read("where", kOurView) != raw.read("where", kOtherView), "there are two views");

    QCOMPARE(key.readString("where"), std::optional<QString>("64"));
    QVERIFY(key.writeString("written", "here"));
    QCOMPARE(raw.read("written", kOurView).second, bytesOf("here"));
    QCOMPARE(raw.read("written", kOtherView).second, QByteArray());
    // Nor is there a detour by the redirected path.
    QVERIFY(!RegistryKey(QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\") +
                         path.section(QLatin1Char('\\'), 1))
                 .readString("written"));
}

void TestRegistryWindows::valuesOfOtherTypes_data()
{
    QTest::addColumn<uint>("type");
    QTest::addColumn<QByteArray>("data");
    const QByteArray text = bytesOf(QStringLiteral("%SystemRoot%\\x"));
    QTest::newRow("REG_EXPAND_SZ") << uint{REG_EXPAND_SZ} << text;
    QTest::newRow("REG_MULTI_SZ") << uint{REG_MULTI_SZ} << text + QByteArray(2, '\0');
    QTest::newRow("REG_LINK") << uint{REG_LINK} << text;
    QTest::newRow("REG_BINARY, four bytes") << uint{REG_BINARY} << QByteArray(4, '\1');
    QTest::newRow("REG_BINARY, eight bytes") << uint{REG_BINARY} << QByteArray(8, '\1');
    QTest::newRow("REG_NONE") << uint{REG_NONE} << QByteArray(4, '\1');
    QTest::newRow("REG_DWORD_BIG_ENDIAN") << uint{REG_DWORD_BIG_ENDIAN} << QByteArray(4, '\1');
    QTest::newRow("a type nobody knows") << 12345u << QByteArray(4, '\1');
    QTest::newRow("nothing at all") << uint{REG_BINARY} << QByteArray();
}

void TestRegistryWindows::valuesOfOtherTypes()
{
    QFETCH(uint, type);
    QFETCH(QByteArray, data);
    korvex::test::FaultRecorder faults;
    QVERIFY(m_raw.write("value", type, data));
    QVERIFY(!m_key.readString("value"));
    QVERIFY(!m_key.readNumber("value"));
    QVERIFY(!m_key.readNumber64("value"));
    QVERIFY(!m_key.readBool("value"));
    QCOMPARE(faults.take(), QStringList());
    // Reading changed nothing, and in particular expanded nothing.
    QCOMPARE(m_raw.read("value"), std::pair(DWORD{type}, data));
}

void TestRegistryWindows::malformedNumbers()
{
    for (const int size : {0, 1, 2, 3, 5, 8, 9, 100}) {
        QVERIFY(m_raw.write("narrow", REG_DWORD, QByteArray(size, '\1')));
        QVERIFY2(!m_key.readNumber("narrow"), qPrintable(QString::number(size)));
        QVERIFY(!m_key.readBool("narrow"));
        QVERIFY(!m_key.readNumber64("narrow"));
        if (size == 8)
            continue;
        QVERIFY(m_raw.write("wide", REG_QWORD, QByteArray(size, '\1')));
        QVERIFY2(!m_key.readNumber64("wide"), qPrintable(QString::number(size)));
    }
}

void TestRegistryWindows::textWithoutItsEnd_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("text");
    const QString text = QStringLiteral("bypass");
    QTest::newRow("no end") << bytesOf(text, false) << text;
    QTest::newRow("odd number of bytes") << bytesOf(text, false) + 'x' << text;
    QTest::newRow("text behind the end") << bytesOf(text) + bytesOf("more") << text;
    QTest::newRow("two ends") << bytesOf(text) + QByteArray(2, '\0') << text;
    QTest::newRow("no bytes") << QByteArray() << QStringLiteral("");
    QTest::newRow("one byte") << QByteArray("x") << QStringLiteral("");
}

void TestRegistryWindows::textWithoutItsEnd()
{
    QFETCH(QByteArray, data);
    QFETCH(QString, text);
    QVERIFY(m_raw.write("text", REG_SZ, data));
    QCOMPARE(m_key.readString("text"), std::optional(text));
}

void TestRegistryWindows::typesWritten()
{
    using Value = std::pair<DWORD, QByteArray>;
    QVERIFY(m_key.writeString("text", QStringLiteral("%PATH% ż")));
    QCOMPARE(m_raw.read("text"), Value(REG_SZ, bytesOf(QStringLiteral("%PATH% ż"))));
    QVERIFY(m_key.writeNumber("narrow", -2));
    QCOMPARE(m_raw.read("narrow"), Value(REG_DWORD, "\xfe\xff\xff\xff"));
    QVERIFY(m_key.writeBool("flag", true));
    QCOMPARE(m_raw.read("FLAG"), Value(REG_DWORD, QByteArray("\1\0\0\0", 4)));
    QVERIFY(m_key.writeNumber64("wide", 0x0102030405060708));
    QCOMPARE(m_raw.read("Wide"), Value(REG_QWORD, "\x08\x07\x06\x05\x04\x03\x02\x01"));
}

QTEST_GUILESS_MAIN(TestRegistryWindows)

#include "tst_registry_windows.moc"

#include "platform/accounts.h"
#include "platform/copies.h"
#include "platform/data_protection.h"
#include "platform/library.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/windows/wide_text.h"
#include "support/scratch_system.h"

#include <QtTest>
#include <windows.h>
// After windows.h, which they rely on.
#include <dpapi.h>
#include <lm.h>

namespace platform = korvex::platform;

namespace {

/// Data protected by the system's own call, with what ours leaves out.
QByteArray protectedWithDescription(const QByteArray& plain)
{
    DATA_BLOB in{static_cast<DWORD>(plain.size()),
                 reinterpret_cast<BYTE*>(const_cast<char*>(plain.constData()))};
    DATA_BLOB out{};
    if (CryptProtectData(&in, L"description", nullptr, nullptr, nullptr, 0, &out) == FALSE)
        return {};
    const QByteArray blob(reinterpret_cast<char*>(out.pbData), static_cast<int>(out.cbData));
    LocalFree(out.pbData);
    return blob;
}

/// As the library does it: names its own place before there is an application.
int showApplicationFolder()
{
    korvex::test::awaitRelease();
    if (!platform::setApplicationFilePath(platform::libraryPath()))
        return 1;
    QByteArray name("program");
    char* argv[] = {name.data(), nullptr};
    int argc = 1;
    const QCoreApplication application(argc, argv);
    platform::writeStandardOutput(QCoreApplication::applicationDirPath().toUtf8());
    return 0;
}

} // namespace

class TestSystemWindows : public QObject
{
    Q_OBJECT

private slots:
    void accounts();
    void joinedDomain();
    void protectedDataOfOthers();
    void fixedPaths();
    void applicationFolder();
    void pinnedLibraryStays();
};

void TestSystemWindows::accounts()
{
    // The SID of the operating system itself, [MS-DTYP] 2.4.2.4.
    QCOMPARE(platform::accountSid(QStringLiteral("NT AUTHORITY\\SYSTEM")).value_or(QString()),
             QStringLiteral("S-1-5-18"));
    const QString own = korvex::test::knownAccount();
    const QString sid = platform::accountSid(own).value_or(QString());
    QVERIFY2(sid.startsWith(QLatin1String("S-1-5-21-")), qPrintable(sid));
    QCOMPARE(platform::accountSid(platform::computerName().value_or(QString()) + '\\' + own)
                 .value_or(QString()),
             sid);
}

void TestSystemWindows::joinedDomain()
{
    LPWSTR name = nullptr;
    NETSETUP_JOIN_STATUS status = NetSetupUnknownStatus;
    QCOMPARE(NetGetJoinInformation(nullptr, &name, &status), DWORD{NERR_Success});
    // A workgroup has a name too, which is no domain.
    QCOMPARE(platform::joinedDomain(),
             status == NetSetupDomainName ? QString::fromWCharArray(name) : QString());
    NetApiBufferFree(name);
}

void TestSystemWindows::protectedDataOfOthers()
{
    // Blobs of earlier versions and other programs are readable under the same conditions.
    const QByteArray blob = protectedWithDescription("plain");
    QCOMPARE(platform::unprotectData(blob), std::optional(QByteArray("plain")));
}

void TestSystemWindows::fixedPaths()
{
    QCOMPARE(platform::installDirectory(), QStringLiteral("C:\\Program Files\\Korvex\\Logon"));
    QCOMPARE(platform::libraryPath(),
             QStringLiteral("C:\\Program Files\\Korvex\\Logon\\korvexLogin.dll"));
    QCOMPARE(platform::dataRoot(), QStringLiteral("C:\\ProgramData\\Korvex\\Logon"));
    QCOMPARE(platform::initialQtConf(), QByteArray());
}

void TestSystemWindows::applicationFolder()
{
    QCOMPARE(korvex::test::runCopies(1, {}), QByteArrayList{"C:/Program Files/Korvex/Logon"});
}

void TestSystemWindows::pinnedLibraryStays()
{
    const QString path = QStringLiteral(PINNED_MODULE);
    const auto load = [&path] { return LoadLibraryW(platform::wideText(path)); };
    const QString name = path.section(QLatin1Char('/'), -1);
    const auto isLoaded = [&name] { return GetModuleHandleW(platform::wideText(name)) != nullptr; };
    const HMODULE module = load();
    const auto pin = reinterpret_cast<bool (*)()>(
        reinterpret_cast<void (*)()>(GetProcAddress(module, "pinModule")));
    QVERIFY(pin());
    FreeLibrary(module);
    QVERIFY(isLoaded());
}

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--copy") == 0)
        return showApplicationFolder();
    const QCoreApplication application(argc, argv);
    TestSystemWindows test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_system_windows.moc"

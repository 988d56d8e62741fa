#include "platform/accounts.h"
#include "platform/copies.h"
#include "platform/data_protection.h"
#include "platform/fault_recorder.h"
#include "platform/library.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/windows/wide_text.h"

#include <QtTest>
#include <array>
#include <vector>
#include <windows.h>
// After windows.h, which they rely on.
#include <dpapi.h>
#include <lm.h>
#include <sddl.h>

namespace platform = korvex::platform;

namespace {

/// The SID in this process's own token, as text: found without any look-up by name.
QString ownSid()
{
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE)
        return QStringLiteral("no token");
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<BYTE> buffer(size);
    LPWSTR text = nullptr;
    QString sid = QStringLiteral("no SID");
    if (GetTokenInformation(token, TokenUser, buffer.data(), size, &size) != FALSE &&
        ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, &text) !=
            FALSE)
        sid = QString::fromWCharArray(text);
    LocalFree(text);
    CloseHandle(token);
    return sid;
}

QString ownName()
{
    std::array<wchar_t, UNLEN + 1> name{};
    auto size = static_cast<DWORD>(name.size());
    return GetUserNameW(name.data(), &size) != FALSE ? QString::fromWCharArray(name.data())
                                                     : QStringLiteral("no name");
}

QString machineName()
{
    std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> name{};
    auto size = static_cast<DWORD>(name.size());
    return GetComputerNameExW(ComputerNameNetBIOS, name.data(), &size) != FALSE
               ? QString::fromWCharArray(name.data())
               : QStringLiteral("no name");
}

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
    void ownAccount_data();
    void ownAccount();
    void wellKnownAccount();
    void unknownAccounts();
    void machine();
    void alteredProtectedData();
    void protectedDataOfOthers();
    void identifiers();
    void fixedPaths();
    void applicationFolder();
    void pinnedLibraryStays();
};

void TestSystemWindows::ownAccount_data()
{
    QTest::addColumn<QString>("account");
    QTest::newRow("name") << ownName();
    QTest::newRow("of this machine") << machineName() + QLatin1Char('\\') + ownName();
}

void TestSystemWindows::ownAccount()
{
    QFETCH(QString, account);
    QVERIFY(ownSid().startsWith(QLatin1String("S-1-5-21-")));
    QCOMPARE(platform::accountSid(account).value_or(QString()), ownSid());
}

void TestSystemWindows::wellKnownAccount()
{
    // The SID of the operating system itself, [MS-DTYP] 2.4.2.4.
    QCOMPARE(platform::accountSid(QStringLiteral("NT AUTHORITY\\SYSTEM")).value_or(QString()),
             QStringLiteral("S-1-5-18"));
}

void TestSystemWindows::unknownAccounts()
{
    for (const QString& account : {QStringLiteral("no-such-account-here"),
                                   machineName() + QStringLiteral("\\nobody-here")}) {
        const auto sid = platform::accountSid(account);
        QVERIFY2(!sid, qPrintable(account));
        QCOMPARE(sid.error(), platform::SidError::AccountNotFound);
    }
}

void TestSystemWindows::machine()
{
    QCOMPARE(platform::computerName().value_or(QString()), machineName());
    LPWSTR name = nullptr;
    NETSETUP_JOIN_STATUS status = NetSetupUnknownStatus;
    QCOMPARE(NetGetJoinInformation(nullptr, &name, &status), DWORD{NERR_Success});
    // A workgroup has a name too, which is no domain.
    QCOMPARE(platform::joinedDomain(),
             status == NetSetupDomainName ? QString::fromWCharArray(name) : QString());
    NetApiBufferFree(name);
}

void TestSystemWindows::alteredProtectedData()
{
    const QByteArray plain = "JBSWY3DPEHPK3PXP";
    const auto blob = platform::protectData(plain);
    QVERIFY(blob);
    QCOMPARE(platform::unprotectData(*blob), std::optional(plain));
    // The last bytes are the authentication code, those before it the encrypted data.
    for (const int fromEnd : {1, 10, 20, 30, 40}) {
        QByteArray altered = *blob;
        const int index = altered.size() - fromEnd;
        altered[index] = static_cast<char>(altered.at(index) ^ 0x20);
        QVERIFY2(!platform::unprotectData(altered), qPrintable(QString::number(fromEnd)));
    }
    korvex::test::FaultRecorder faults;
    QVERIFY(!platform::unprotectData(blob->left(blob->size() / 2)));
    QVERIFY(!platform::unprotectData("no blob at all"));
    QCOMPARE(faults.take(), QStringList()); // somebody else's fault, not the system's
}

void TestSystemWindows::protectedDataOfOthers()
{
    // Blobs of earlier versions and other programs are readable under the same conditions.
    const QByteArray blob = protectedWithDescription("plain");
    QVERIFY(!blob.isEmpty());
    QCOMPARE(platform::unprotectData(blob), std::optional(QByteArray("plain")));
}

void TestSystemWindows::identifiers()
{
    QCOMPARE(platform::currentProcessId(), quint64{GetCurrentProcessId()});
    QCOMPARE(platform::currentThreadId(), quint64{GetCurrentThreadId()});
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
    HMODULE module = load();
    QVERIFY(module != nullptr);
    QVERIFY(FreeLibrary(module) != FALSE);
    QVERIFY2(!isLoaded(), "without the call it goes");

    module = load();
    const auto pin = reinterpret_cast<bool (*)()>(
        reinterpret_cast<void (*)()>(GetProcAddress(module, "pinModule")));
    QVERIFY(pin != nullptr && pin());
    for (int time = 0; time < 3; ++time)
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

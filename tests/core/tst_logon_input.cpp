#include "core/process_state.h"
#include "core/user_folder.h"
#include "platform/accounts.h"
#include "platform/paths.h"

#include <QDir>
#include <QtTest>

using namespace korvex;

class TestLogonInput : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void parsing_data();
    void parsing();
    void folderName_data();
    void folderName();
    void storageDirectory();

private:
    test::ProcessState m_state;
};

void TestLogonInput::parsing_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("ip");
    const auto row = [](const char* name, const QString& json, const QString& user,
                        const QString& ip) { QTest::newRow(name) << json << user << ip; };
    row("raw backslash", R"({"user":"DOM\name","ip":"10.0.0.5"})", "DOM\\name", "10.0.0.5");
    row("escaped backslash", R"({"user":"DOM\\name","ip":""})", "DOM\\\\name", "");
    row("backslash before a letter that JSON escapes", R"({"user":"NET\bob"})", "NET\\bob", "");
    row("no Unicode escape", R"({"user":"\u0041"})", "\\u0041", "");
    row("no escaped quote", R"({"user":"a\"b"})", "", "");
    row("no user", R"({"ip":"10.0.0.5"})", "", "10.0.0.5");
    row("names in other case", R"({"User":"jdoe","IP":"10.0.0.5"})", "", "");
    row("other types", R"({"user":17,"ip":["::1"]})", "", "");
    row("not ASCII", QStringLiteral(R"({"user":"żółw\jürgen"})"), QStringLiteral("żółw\\jürgen"),
        "");
    row("cut short", R"({"user":"jdoe","ip":"10.0.0.5")", "", "");
    row("an array", R"([{"user":"jdoe"}])", "", "");
    row("empty", "", "", "");
    row("too deep", QString(100000, '['), "", "");
    const QString huge(1024 * 1024, 'a');
    row("huge", "{\"user\":\"" + huge + "\",\"ip\":\"::1\"}", huge, "::1");
    const QString lone(QChar(0xd800));
    row("lone surrogate in the user", "{\"user\":\"a" + lone + "b\",\"ip\":\"::1\"}", "a?b", "::1");
}

void TestLogonInput::parsing()
{
    QFETCH(QString, json);
    QFETCH(QString, user);
    QFETCH(QString, ip);
    const LogonInput input = parseLogonInput(json);
    QCOMPARE(input.user, user);
    QCOMPARE(input.ip, ip);
}

void TestLogonInput::folderName_data()
{
    QTest::addColumn<QString>("sid");
    QTest::addColumn<QString>("folder");
    // SHA-256 examples of FIPS 180.
    QTest::newRow("one block") << "abc" << "ba7816b";
    QTest::newRow("two blocks") << "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"
                                << "248d6a6";
    QTest::newRow("none") << "" << "unknown_user";
}

void TestLogonInput::folderName()
{
    QFETCH(QString, sid);
    QTEST(userFolderName(sid), "folder");
}

void TestLogonInput::storageDirectory()
{
    const QString cache = platform::dataRoot() + QDir::separator() + "Cache" + QDir::separator();
    beginSignIn({});
    QCOMPARE(userStorageDirectory(), cache + "unknown_user");
    const QString account = ".\\" + test::knownAccount();
    beginSignIn({.user = account});
    const QString sid = platform::accountSid(test::knownAccount()).value_or("no SID");
    for (int time = 0; time < 2; ++time) // looked up once
        QCOMPARE(userStorageDirectory(), cache + userFolderName(sid));
    QCOMPARE(m_state.takeLog(),
             QStringList("[Verbose 2] Using SID '" + sid + "' for user '" + account + '\''));
    QVERIFY(!QFileInfo::exists(cache));
}

QTEST_GUILESS_MAIN(TestLogonInput)

#include "tst_logon_input.moc"

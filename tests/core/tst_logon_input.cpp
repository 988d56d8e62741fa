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
    row("raw backslash", R"({"user":"NET\bob","ip":"10.0.0.5"})", "NET\\bob", "10.0.0.5");
    row("escaped backslash", R"({"user":"DOM\\name"})", "DOM\\\\name", "");
    row("no escaped quote", R"({"user":"a\"b"})", "", "");
    row("names in other case", R"({"User":"jdoe","IP":"10.0.0.5"})", "", "");
    row("other types", R"({"user":17,"ip":["::1"]})", "", "");
    row("not ASCII", QStringLiteral(R"({"user":"żółw"})"), QStringLiteral("żółw"), "");
    row("an array", R"([{"user":"jdoe"}])", "", "");
    row("too deep", QString(100000, '['), "", "");
    row("lone surrogate", QString("{\"user\":\"a") + QChar(0xd800) + "b\"}", "a?b", "");
}

void TestLogonInput::parsing()
{
    QFETCH(QString, json);
    const LogonInput input = parseLogonInput(json);
    QTEST(input.user, "user");
    QTEST(input.ip, "ip");
}

void TestLogonInput::folderName()
{
    // SHA-256 examples of FIPS 180.
    QCOMPARE(userFolderName("abc"), QString("ba7816b"));
    QCOMPARE(userFolderName("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
             QString("248d6a6"));
}

void TestLogonInput::storageDirectory()
{
    const QString cache = platform::dataRoot() + QDir::separator() + "Cache" + QDir::separator();
    beginSignIn({});
    QCOMPARE(userStorageDirectory(), cache + "unknown_user");
    const QString account = ".\\" + test::knownAccount();
    beginSignIn({.user = account});
    const QString sid = platform::accountSid(test::knownAccount()).value_or("no SID");
    QCOMPARE(userStorageDirectory(), cache + userFolderName(sid));
    QCOMPARE(m_state.takeLog(),
             QStringList("[Verbose 2] Using SID '" + sid + "' for user '" + account + '\''));
    QVERIFY(!QFileInfo::exists(cache));
}

QTEST_GUILESS_MAIN(TestLogonInput)

#include "tst_logon_input.moc"

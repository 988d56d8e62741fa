#include "api/connectivity.h"
#include "api/error_policy.h"
#include "api/transaction.h"
#include "rest/service_state.h"

#include <QElapsedTimer>
#include <QtTest>

using namespace korvex;
using mfa_service::Behaviour;
using test::BoxWatcher;
using test::runInEventLoop;

namespace {

const QString kException = "Korvex server response exception";
const QString kRefused = "Access Denied!\nIncorrect Korvex API request.";
const QString kCredentials = "Incorrect Korvex API credentials.";

} // namespace

class TestVerdictAndPolicy : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void policy();
    void unreachable();
    void verdictEndsTheWait();
    void verdictEndsTheBox();

private:
    test::ServiceState m_state;
};

void TestVerdictAndPolicy::policy()
{
    struct Row
    {
        QString box;
        bool granted;
        QString reason;
    };
    const Row unexpected{"", true,
                         "Unexpected response received. Are you using API credentials dedicated "
                         "for Windows Logon & RDP application?"};
    const QMap<int, Row> rows = {
        {9, {kRefused, false, kException}},
        {10, {kCredentials, true, kException}},
        {45, {"", true, "Korvex server response bypass"}},
        {81, unexpected},
        {82, unexpected},
        {83, unexpected},
        {84, unexpected},
        {1000, {"", false, "Korvex server unsupported failure response"}},
        {1003, unexpected},
    };
    QVector<int> codes{-1, 0x7fffffff};
    for (int code = 0; code <= 100; ++code)
        codes << code << code + 950;
    for (const int code : qAsConst(codes)) {
        for (const bool bypass : {false, true}) {
            Row row = rows.value(code, {"", true, "Broken error logic. Contact with Korvex team"});
            if (code == 1001 || code == 1002)
                row = {"", bypass,
                       QString("No or invalid response from Korvex API! FailMode ") +
                           (bypass ? "bypass" : "deny")};
            const ErrorPolicy policy = errorPolicy(static_cast<ErrorCode>(code), bypass);
            QVERIFY2(policy.messageBox == row.box && policy.granted == row.granted &&
                         policy.reason == row.reason,
                     QByteArray::number(code) + (bypass ? ", bypass" : ""));
        }
    }
}

void TestVerdictAndPolicy::unreachable()
{
    m_state.service().setBehaviour("/", {.kind = Behaviour::Kind::Status500});
    readBool(Setting::OfflineAuth); // looks the account up, once, which logs
    m_state.takeLog();
    KorvexRestAPIClient client;
    BoxWatcher boxes;
    QCOMPARE(runInEventLoop([&] { QVERIFY(!Connectivity::checkConnection(client)); }), 0);
    const QString text =
        "Access Denied!\nYou are not allowed to log in.\nContact your administrator.";
    QCOMPARE(boxes.texts, QStringList(text));
    const QStringList log = m_state.takeLog();
    QCOMPARE(log.mid(2), // after the probe's start and the client's warning
             QStringList({"[Error] No connection to Korvex API. Error 1001",
                          "[MessageBox] " + QString(text).replace("\n", ", "),
                          "User access denied, reason: Cannot reach Korvex API and bypass MFA when "
                          "offline is off. Check your Internet connection and try again."}));
}

void TestVerdictAndPolicy::verdictEndsTheWait()
{
    m_state.service().setBehaviour("/", {.kind = Behaviour::Kind::Hang, .times = 1});
    KorvexRestAPIClient client;
    QTimer::singleShot(100, [] { QVERIFY(!verdictGiven() && !deny("first") && verdictGiven()); });
    QElapsedTimer time;
    time.start();
    QCOMPARE(runInEventLoop([&] {
                 const auto answer = client.probe();
                 QVERIFY(!answer);
                 QCOMPARE(answer.error().code, ErrorCode::TransferFailure);
                 QVERIFY(!grant("late"));
                 QVERIFY(!client.probe()); // nothing waits any more
             }),
             0);
    QVERIFY(time.elapsed() < 5000); // of the 10 seconds that the request may take
    QCOMPARE(m_state.takeLog().filter("User access"),
             QStringList("User access denied, reason: first"));

    // The next sign-in in the same process starts from nothing.
    clearVerdict();
    QVERIFY(!verdictGiven());
    QCOMPARE(runInEventLoop([&] {
                 QVERIFY(client.probe());
                 QVERIFY(grant("second"));
                 QVERIFY(deny("late"));
             }),
             1);
    QCOMPARE(m_state.takeLog(),
             QStringList({"User access granted, reason: second",
                          "[Verbose 1] Verdict already given, not followed: late"}));
    clearVerdict();
    QCOMPARE(runInEventLoop([] { QTest::qWait(50); }), test::kNoVerdict);
}

void TestVerdictAndPolicy::verdictEndsTheBox()
{
    Transaction transaction{LogonInput{}};
    BoxWatcher boxes([](QMessageBox&) {
        if (!verdictGiven())
            deny("by a test");
    });
    // Code 10 would grant once its box is dismissed.
    QCOMPARE(runInEventLoop([&] {
                 QVERIFY(!transaction.handlePostError({ErrorCode::InvalidCredentials, {}}));
             }),
             0);
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(m_state.takeLog().filter("User access"),
             QStringList("User access denied, reason: by a test"));
}

QTEST_MAIN(TestVerdictAndPolicy)
#include "tst_verdict_and_policy.moc"

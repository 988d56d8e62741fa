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
    const QString exception = "Korvex server response exception";
    using Row = std::tuple<QVector<int>, bool, bool, QString, QString>;
    for (const auto& [codes, deny, bypass, reason, box] : // granted with FailMode deny, bypass
         {Row{{9}, false, false, exception, "Access Denied!\nIncorrect Korvex API request."},
          Row{{10}, true, true, exception, "Incorrect Korvex API credentials."},
          Row{{45}, true, true, "Korvex server response bypass", ""},
          Row{{81, 82, 83, 84, 1003},
              true,
              true,
              "Unexpected response received. Are you using API credentials dedicated for Windows "
              "Logon & RDP application?",
              ""},
          Row{{1000}, false, false, "Korvex server unsupported failure response", ""},
          Row{{1001, 1002}, false, true, "No or invalid response from Korvex API! FailMode *", ""},
          Row{{11, 0, -1, 80, 85, 1004},
              true,
              true,
              "Broken error logic. Contact with Korvex team",
              ""}}) {
        for (const int code : codes) {
            for (const bool mode : {false, true}) {
                const ErrorPolicy policy = errorPolicy(static_cast<ErrorCode>(code), mode);
                QCOMPARE(policy.granted, mode ? bypass : deny);
                QCOMPARE(policy.reason, QString(reason).replace('*', mode ? "bypass" : "deny"));
                QCOMPARE(policy.messageBox, box);
            }
        }
    }
}

void TestVerdictAndPolicy::unreachable()
{
    m_state.service().setBehaviour("/", {.kind = Behaviour::Kind::Status500});
    KorvexRestAPIClient client;
    BoxWatcher boxes;
    QCOMPARE(runInEventLoop([&] { QVERIFY(!Connectivity::checkConnection(client)); }), 0);
    const QString text =
        "Access Denied!\nYou are not allowed to log in.\nContact your administrator.";
    QCOMPARE(boxes.texts, QStringList(text));
    QCOMPARE(m_state.takeLog().filter(QRegularExpression("^(\\[Error|\\[MessageBox|User access)")),
             QStringList({"[Error] No connection to Korvex API. Error 1001",
                          "[MessageBox] " + QString(text).replace("\n", ", "),
                          "User access denied, reason: Cannot reach Korvex API and bypass MFA when "
                          "offline is off. Check your Internet connection and try again."}));
}

void TestVerdictAndPolicy::verdictEndsTheWait()
{
    m_state.service().setBehaviour("/", {.kind = Behaviour::Kind::Hang});
    KorvexRestAPIClient client;
    QTimer::singleShot(100, [] { QVERIFY(!verdictGiven() && !deny("first")); });
    QElapsedTimer time;
    time.start();
    QCOMPARE(runInEventLoop([&] {
                 QCOMPARE(client.probe().error().code, ErrorCode::TransferFailure);
                 QVERIFY(verdictGiven() && !grant("late"));
             }),
             0);
    QVERIFY(time.elapsed() < 5000); // of the 10 seconds that the request may take
    // The next sign-in in the same process starts from nothing.
    clearVerdict();
    QCOMPARE(runInEventLoop([&] { QVERIFY(!verdictGiven() && grant("second") && deny("late")); }),
             1);
    const QString late = "[Verbose 1] Verdict already given, not followed: late";
    QCOMPARE(m_state.takeLog().filter(QRegularExpression("access|late")),
             QStringList({"User access denied, reason: first", late,
                          "User access granted, reason: second", late}));
}

void TestVerdictAndPolicy::verdictEndsTheBox()
{
    Transaction transaction{LogonInput{}};
    BoxWatcher boxes([](QMessageBox&) { deny("by a test"); });
    // Code 10 would grant once its box is dismissed.
    QCOMPARE(runInEventLoop([&] {
                 QVERIFY(!transaction.handlePostError({ErrorCode::InvalidCredentials, {}}));
             }),
             0);
    QVERIFY(!QApplication::activeModalWidget());
    QVERIFY(m_state.takeLog().contains("User access denied, reason: by a test"));
}

QTEST_MAIN(TestVerdictAndPolicy)
#include "tst_verdict_and_policy.moc"

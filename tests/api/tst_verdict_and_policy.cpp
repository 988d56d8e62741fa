#include "api/connectivity.h"
#include "api/error_policy.h"
#include "api/transaction.h"
#include "rest/service_state.h"

#include <QElapsedTimer>
#include <QtTest>

using namespace korvex;
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
    const QString wrongApplication = "Unexpected response received. Are you using API credentials "
                                     "dedicated for Windows Logon & RDP application?";
    const QString broken = "Broken error logic. Contact with Korvex team";
    using Row = std::tuple<QVector<int>, bool, bool, QString, QString>;
    for (const auto& [codes, deny, bypass, reason, box] : // granted with FailMode deny, bypass
         {Row{{9}, false, false, exception, "Access Denied!\nIncorrect Korvex API request."},
          Row{{10}, true, true, exception, "Incorrect Korvex API credentials."},
          Row{{45}, true, true, "Korvex server response bypass", ""},
          Row{{81, 82, 83, 84, 1003}, true, true, wrongApplication, ""},
          Row{{1000}, false, false, "Korvex server unsupported failure response", ""},
          Row{{1001, 1002}, false, true, "No or invalid response from Korvex API! FailMode *", ""},
          Row{{11, 0, -1, 80, 85, 1004}, true, true, broken, ""}}) {
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
    m_state.service().setBehaviour("/", {.kind = mfa_service::Behaviour::Kind::Status500});
    KorvexRestAPIClient client;
    test::BoxWatcher boxes;
    QCOMPARE(runInEventLoop([&] { QVERIFY(!Connectivity::checkConnection(client)); }), 0);
    QCOMPARE(boxes.texts.join('|'), QString("Access Denied!\nYou are not allowed to log in.\n"
                                            "Contact your administrator."));
}

void TestVerdictAndPolicy::verdictEndsTheWait()
{
    m_state.service().setBehaviour("/", {.kind = mfa_service::Behaviour::Kind::Hang});
    KorvexRestAPIClient client;
    QTimer::singleShot(100, [] { QVERIFY(!verdictGiven() && !deny("first")); });
    QElapsedTimer time;
    time.start();
    QCOMPARE(runInEventLoop([&] { QVERIFY(!client.probe() && verdictGiven() && !grant("late")); }),
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
    test::BoxWatcher boxes([](QMessageBox&) { deny("by a test"); });
    // Code 10 would grant once its box is dismissed.
    const auto work = [&] { transaction.handlePostError({ErrorCode::InvalidCredentials, {}}); };
    QCOMPARE(runInEventLoop(work), 0);
    QVERIFY(m_state.takeLog().contains("User access denied, reason: by a test"));
}

QTEST_MAIN(TestVerdictAndPolicy)
#include "tst_verdict_and_policy.moc"

#include "end_to_end/sign_in_rig.h"

#include <QTest>

using namespace korvex::test;

namespace {

const QString kInit = "/api/transaction/init";
const QString kCredentials = "/api/transaction/credentials";

} // namespace

/// What a failed request leads to, seen from outside: one row for each kind of box and verdict.
class TestErrorPolicy : public QObject
{
    Q_OBJECT

private slots:
    void failedRequest_data();
    void failedRequest();
};

void TestErrorPolicy::failedRequest_data()
{
    // A row's name is what the service does.
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("failMode");
    QTest::addColumn<QString>("error"); // as logged
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("verdict");
    QTest::newRow("wrong-signature") << kInit << "bypass" << "9, error: ''"
                                     << "Access Denied!, Incorrect Korvex API request."
                                     << "denied: Korvex server response exception";
    QTest::newRow("envelope-error:10")
        << kCredentials << "deny" << "10, error: 'Refused with code 10'"
        << "Incorrect Korvex API credentials."
        << "granted: Korvex server response exception";
    QTest::newRow("user-bypassed") << kInit << "deny" << "45, error: 'The user is exempt'" << ""
                                   << "granted: Korvex server response bypass";
    QTest::newRow("status-500") << kInit << "bypass" << "1001, error: ''" << ""
                                << "granted: No or invalid response from Korvex API! "
                                   "FailMode bypass";
    QTest::newRow("hang") << kCredentials << "deny" << "1002, error: ''" << ""
                          << "denied: No or invalid response from Korvex API! FailMode deny";
}

void TestErrorPolicy::failedRequest()
{
    QFETCH(QString, path);
    QFETCH(QString, failMode);
    QFETCH(QString, error);
    QFETCH(QString, box);
    SignInRig rig;
    rig.set("FailMode", failMode);
    rig.set("RequestTimeout", 1500);
    rig.service().setBehaviour(
        path, korvex::mfa_service::parseBehaviour(QTest::currentDataTag()).value());
    const Outcome outcome = rig.signIn();
    QTEST(outcome.lastVerdict(), "verdict");
    QCOMPARE(outcome.verdicts, QVector<int>{outcome.lastVerdict().startsWith("granted")});
    QCOMPARE(outcome.log.filter("[MessageBox]").join('|'),
             box.isEmpty() ? "" : "[MessageBox] " + box);
    QCOMPARE(outcome.boxesDismissed, box.isEmpty() ? 0 : 1);
    QCOMPARE(outcome.log.filter("handlePostError").join('|'),
             "[Verbose 1] [Warning] Transaction::handlePostError code: " + error);
    QCOMPARE(outcome.log.filter("User access").size(), 1);
    // A sign-in that is decided goes no further.
    QCOMPARE(rig.service().waitForRequest(kCredentials, {}), path == kCredentials);
}

QTEST_GUILESS_MAIN(TestErrorPolicy)
#include "tst_error_policy.moc"

#include "core/account_sid.h"
#include "core/logon_input.h"
#include "core/user_registry_data.h"
#include "end_to_end/sign_in_rig.h"
#include "otp/offline_secret.h"

#include <QTest>
#include <tuple>

using namespace korvex;
using namespace korvex::test;

/// What leads to a verdict before the web engine starts.
class TestConnectivity : public QObject
{
    Q_OBJECT

private slots:
    void unreachable_data();
    void unreachable();
    void configuration();
};

void TestConnectivity::unreachable_data()
{
    // With a secret where offline mode is off, and without one where it is on.
    QTest::addColumn<bool>("offlineAuth");
    QTest::addColumn<QString>("failMode");
    QTest::addColumn<int>("boxes");
    QTest::addColumn<QString>("verdict");
    QTest::newRow("bypass") << false << "bypass" << 0
                            << "granted: Cannot reach Korvex API! FailMode bypass.";
    QTest::newRow("deny") << false << "deny" << 1
                          << "denied: Cannot reach Korvex API and bypass MFA when offline is off. "
                             "Check your Internet connection and try again.";
    QTest::newRow("offline, bypass")
        << true << "bypass" << 0 << "granted: OTP secret doesn't exist! FailMode bypass.";
    QTest::newRow("offline, deny") << true << "deny" << 0 << "denied: OTP secret doesn't exist!";
}

void TestConnectivity::unreachable()
{
    QFETCH(bool, offlineAuth);
    QFETCH(QString, failMode);
    SignInRig rig;
    rig.service().stop();
    rig.set("FailMode", failMode);
    const UserRegistryData data({.user = knownAccount(), .sid = sidOf(knownAccount())});
    QVERIFY(data.key()->writeNumber("OfflineAuth", offlineAuth));
    QVERIFY(offlineAuth || otp::storeOtpSecret(&data, "GEZDGNBVGY3TQOJQ"));
    const Outcome outcome = rig.signIn(knownAccount());
    QTEST(outcome.lastVerdict(), "verdict");
    QCOMPARE(outcome.verdicts.size(), 1);
    QTEST(outcome.boxesDismissed, "boxes");
}

void TestConnectivity::configuration()
{
    const QString missing = "Value of 'systemToken' or 'secretKey' is not defined";
    for (const auto& [systemToken, secretKey, error] :
         {std::tuple("", "key", missing),
          {"token", "", missing},
          {"same", "same", "Value of 'systemToken' and 'secretKey' can not be equal"}}) {
        SignInRig rig;
        rig.set("systemToken", systemToken);
        rig.set("SecretKey", secretKey);
        const Outcome outcome = rig.signIn();
        QCOMPARE(outcome.verdicts, QVector<int>{1});
        QCOMPARE(outcome.lastVerdict(), "granted: Invalid configuration");
        QCOMPARE(outcome.boxesDismissed, 1);
        QVERIFY(outcome.log.contains("[Error] " + error));
        QVERIFY(rig.service().requests().empty());
    }
}

QTEST_GUILESS_MAIN(TestConnectivity)
#include "tst_connectivity.moc"

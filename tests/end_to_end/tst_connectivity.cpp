#include "core/account_sid.h"
#include "core/logon_input.h"
#include "core/settings.h"
#include "core/user_registry_data.h"
#include "end_to_end/sign_in_rig.h"
#include "otp/offline_secret.h"

#include <QTest>
#include <optional>

using korvex::mfa_service::Behaviour;
using korvex::mfa_service::MfaService;
using korvex::test::knownAccount;
using korvex::test::Outcome;
using korvex::test::SignInRig;

Q_DECLARE_METATYPE(std::optional<bool>)

class TestConnectivity : public QObject
{
    Q_OBJECT

private slots:
    void unreachable_data();
    void unreachable();
    void probeAnswer_data();
    void probeAnswer();
    void untrustedCertificate();
    void configuration_data();
    void configuration();
};

void TestConnectivity::unreachable_data()
{
    QTest::addColumn<std::optional<bool>>("offlineAuth");
    QTest::addColumn<QString>("failMode");
    QTest::addColumn<int>("boxes");
    QTest::addColumn<QString>("verdict");
    const QString bypass = QStringLiteral("granted: Cannot reach Korvex API! FailMode bypass.");
    const QString deny =
        QStringLiteral("denied: Cannot reach Korvex API and bypass MFA when offline "
                       "is off. Check your Internet connection and try again.");
    const std::optional<bool> absent;
    QTest::newRow("defaults") << absent << QString() << 0 << bypass;
    QTest::newRow("bypass, secret") << std::optional(false) << "bypass" << 0 << bypass;
    QTest::newRow("deny") << absent << "deny" << 1 << deny;
    QTest::newRow("deny, secret") << std::optional(false) << "deny" << 1 << deny;
    QTest::newRow("other case") << absent << "Bypass" << 1 << deny;
    QTest::newRow("offline, bypass") << std::optional(true) << "bypass" << 0
                                     << "granted: OTP secret doesn't exist! FailMode bypass.";
    QTest::newRow("offline, deny")
        << std::optional(true) << "deny" << 0 << "denied: OTP secret doesn't exist!";
}

void TestConnectivity::unreachable()
{
    QFETCH(std::optional<bool>, offlineAuth);
    QFETCH(QString, failMode);
    QFETCH(int, boxes);
    SignInRig rig;
    rig.service().stop();
    const QString user = knownAccount();
    if (offlineAuth) {
        const korvex::platform::RegistryKey userKey(korvex::dataKey().path() + QLatin1Char('\\') +
                                                    korvex::sidOf(user));
        QVERIFY(userKey.writeBool(QStringLiteral("OfflineAuth"), *offlineAuth));
        // A secret has no say where offline mode is off.
        if (!*offlineAuth) {
            const korvex::UserRegistryData data({.user = user, .sid = korvex::sidOf(user)});
            QVERIFY(korvex::otp::storeOtpSecret(&data, "GEZDGNBVGY3TQOJQ"));
        }
    }
    // An absent value: one of another type reads so.
    if (failMode.isEmpty())
        rig.set(QStringLiteral("FailMode"), 0);
    else
        rig.set(QStringLiteral("FailMode"), failMode);
    const Outcome outcome = rig.signIn(user);
    QTEST(outcome.lastVerdict(), "verdict");
    QCOMPARE(outcome.verdicts.size(), 1);
    QCOMPARE(outcome.boxesDismissed, boxes);
    QVERIFY(
        outcome.log.contains(QStringLiteral("[Error] No connection to Korvex API. Error 1002")));
}

void TestConnectivity::probeAnswer_data()
{
    using Kind = Behaviour::Kind;
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("error");
    QTest::newRow("400 with a body") << int(Kind::EnvelopeError) << 0;
    QTest::newRow("redirect") << int(Kind::Redirect) << 0;
    QTest::newRow("404") << int(Kind::Status404) << 1002;
    QTest::newRow("500") << int(Kind::Status500) << 1001;
    QTest::newRow("hang") << int(Kind::Hang) << 1002;
}

void TestConnectivity::probeAnswer()
{
    QFETCH(int, kind);
    QFETCH(int, error);
    SignInRig rig;
    rig.set(QStringLiteral("RequestTimeout"), 1500);
    rig.set(QStringLiteral("FailMode"), QStringLiteral("bypass"));
    rig.service().setBehaviour(QStringLiteral("/"), {.kind = Behaviour::Kind(kind)});
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(),
             error == 0 ? QStringLiteral("granted: User allowed by Korvex server")
                        : QStringLiteral("granted: Cannot reach Korvex API! FailMode bypass."));
    QCOMPARE(outcome.log.contains(
                 QStringLiteral("[Error] No connection to Korvex API. Error %1").arg(error)),
             error != 0);
}

void TestConnectivity::untrustedCertificate()
{
    SignInRig rig;
    MfaService other({.systemToken = "system-token", .secretKey = "secret-key", .https = true});
    QVERIFY(other.start());
    rig.set(QStringLiteral("korvexApiServer"), other.baseUrl());
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.verdicts, QVector<int>{0});
    QVERIFY(
        outcome.log.contains(QStringLiteral("[Error] No connection to Korvex API. Error 1002")));
    QVERIFY(other.requests().empty());
}

void TestConnectivity::configuration_data()
{
    QTest::addColumn<QString>("systemToken");
    QTest::addColumn<QString>("secretKey");
    QTest::addColumn<QString>("error");
    const QString missing =
        QStringLiteral("[Error] Value of 'systemToken' or 'secretKey' is not defined");
    QTest::newRow("no token") << "" << "key" << missing;
    QTest::newRow("no key") << "token" << "" << missing;
    QTest::newRow("neither") << "" << "" << missing;
    QTest::newRow("equal") << "same" << "same"
                           << "[Error] Value of 'systemToken' and 'secretKey' can not be equal";
}

void TestConnectivity::configuration()
{
    QFETCH(QString, systemToken);
    QFETCH(QString, secretKey);
    QFETCH(QString, error);
    SignInRig rig;
    rig.set(QStringLiteral("systemToken"), systemToken);
    rig.set(QStringLiteral("SecretKey"), secretKey);
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("granted: Invalid configuration"));
    QCOMPARE(outcome.boxesDismissed, 1);
    QVERIFY(outcome.log.contains(error));
    QVERIFY(rig.service().requests().empty());
}

QTEST_GUILESS_MAIN(TestConnectivity)
#include "tst_connectivity.moc"

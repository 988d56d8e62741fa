#include "core/account_sid.h"
#include "core/logon_input.h"
#include "core/openssl_program.h"
#include "core/settings.h"
#include "core/user_registry_data.h"
#include "end_to_end/sign_in_rig.h"
#include "otp/offline_secret.h"

#include <QFile>
#include <QTest>

using namespace korvex;
using test::knownAccount;
using test::Outcome;

namespace {

const QByteArray kSecret = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ";
const QString kWrongCode = QStringLiteral("000000"); // no recovery code begins with a zero

const QString kShown = QStringLiteral("Offline mode prompt initialized");
const QString kPage = QStringLiteral("[Verbose 1] Invoke updateWebView, url: ");
const QString kRefused = QStringLiteral("Code verification failed!");
const QString kGranted = QStringLiteral("granted: Correct code for Offline Mode!");

/// What the user's authenticator app shows, some seconds from now.
QString appCode(int later = 0)
{
    QProcess app;
    app.start("oathtool",
              {"--totp", "--base32", "--now", QStringLiteral("now + %1 seconds").arg(later), "-"});
    app.write(kSecret);
    app.closeWriteChannel();
    return app.waitForFinished() ? QString::fromLatin1(app.readAll().trimmed()) : QString();
}

/// What a help desk tells with the private key.
QString recoveryCode()
{
    const QByteArray block =
        test::openssl({"pkeyutl", "-decrypt", "-inkey", KORVEX_RECOVERY_PRIVATE_KEY, "-pkeyopt",
                       "rsa_padding_mode:none"},
                      QByteArray::fromBase64(readString(Setting::RecoveryCode).toLatin1()));
    return block.mid(block.indexOf(":\"") + 2, 6);
}

/// What the user does once a line that begins so has been logged, and again while it returns false.
struct Step
{
    QString after;
    std::function<bool()> act;
};

/// A machine that allows its user offline sign-ins.
class OnlineRig : public test::SignInRig
{
public:
    OnlineRig()
    {
        if (!m_data.key()->writeBool("OfflineAuth", true))
            qFatal("cannot allow offline mode");
    }

    Step type(const QString& after, const QString& code)
    {
        return {after, [this, code] { return display().type(code), true; }};
    }
    /// The service's own page, for a user whose authenticator app has the secret.
    void usesApp()
    {
        showRealPage();
        set("sendNTLM", 0);
        service().addUser(knownAccount(), "12345678901234567890"); // kSecret, decoded
    }
    /// The `count`-th code that is typed on that page.
    Step typeOnPage(int count)
    {
        return {kPage, [this, count] {
                    display().press("ctrl+a");
                    display().type(appCode());
                    return service().waitForRequest("/signin/code", std::chrono::seconds(2), count);
                }};
    }
    /// The next sign-in does not reach the service.
    void failProbe()
    {
        service().setBehaviour("/", {.kind = mfa_service::Behaviour::Kind::Status500, .times = 1});
    }
    bool storeSecret() { return otp::storeOtpSecret(&m_data, kSecret); }
    Step close(const QString& after)
    {
        return {after, [this] { return display().closeTopWindow(); }};
    }

    Outcome play(const QVector<Step>& steps, int signIns = 1)
    {
        const QString json = QStringLiteral("{\"user\":\"%1\",\"ip\":\"\"}").arg(knownAccount());
        int step = 0;
        int from = 0;
        return run(QVector<QString>(signIns, json).toList(), [&] {
            const int line = root().logMessages().indexOf(
                QRegularExpression(QRegularExpression::escape(steps[step].after) + ".*"), from);
            if (line < 0 || !isReady(steps[step].after) || !steps[step].act())
                return false;
            from = line + 1;
            return ++step == steps.size();
        });
    }

protected:
    /// A window without a window manager has to ask for the keyboard; the one with the web view
    /// gets it by lying under the pointer.
    bool isReady(const QString& after) const
    {
        return after == kShown ? display().topWindowHasKeyboard() : display().hasVisibleWindow();
    }

    const UserRegistryData m_data{{.user = knownAccount(), .sid = sidOf(knownAccount())}};
};

/// The same, when the user has an offline secret and the service does not answer.
class OfflineRig : public OnlineRig
{
public:
    OfflineRig()
    {
        service().stop();
        if (!storeSecret())
            qFatal("cannot store the secret");
    }
};

} // namespace

class TestOfflineSignIn : public QObject
{
    Q_OBJECT

private slots:
    void entry_data();
    void entry();
    void wrongThenRight();
    void tooManyAttempts();
    void attemptsAfterTheWait();
    void recoveryCodeWorksOnce();
    void closedWithoutCode_data();
    void closedWithoutCode();
    void wholeRoad();
    void oneProcess();
    void languageByKeyboard();
};

void TestOfflineSignIn::entry_data()
{
    // '*' stands for the code's next digit, the rest for keys.
    QTest::addColumn<QString>("keys");
    QTest::newRow("digits alone") << "* * * * * *";
    QTest::newRow("digit pad") << "KP_* KP_* KP_* KP_* KP_* KP_*";
    QTest::newRow("other keys are swallowed")
        << "a * Z * space * minus * Left Delete Home * ctrl+a Escape *";
    QTest::newRow("wrong digit taken back") << "* * * 1 1 BackSpace BackSpace * * *";
    QTest::newRow("paste of eight, then Return") << "ctrl+v Return";
    QTest::newRow("paste, then the button") << "ctrl+v Tab space";
    QTest::newRow("too short first") << "* * Return * * * *";
}

void TestOfflineSignIn::entry()
{
    QFETCH(QString, keys);
    OfflineRig rig;
    const Outcome outcome = rig.play(
        {{kShown, [&] {
              const QString code = appCode();
              rig.display().copy(code + "99");
              int digit = 0;
              for (QString key : keys.split(' '))
                  rig.display().press(key.contains('*') ? key.replace('*', code[digit++]) : key);
              return true;
          }}});
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(outcome.log.mid(outcome.log.indexOf(kShown) + 1),
             QStringList({"[Verbose 2] Time windows count: 3", "[Verbose 2] Input code is found.",
                          "Code verification success!", "Close window called!",
                          "User access granted, reason: Correct code for Offline Mode!",
                          "[Verbose 1] Cleaning up...", "[Verbose 1] Exiting with result: 1"}));
}

void TestOfflineSignIn::wrongThenRight()
{
    OfflineRig rig;
    const Outcome outcome = rig.play({rig.type(kShown, kWrongCode), rig.type(kRefused, appCode())});
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(outcome.lastVerdict(), kGranted);
    QCOMPARE(outcome.log.count(kRefused), 1);
    QCOMPARE(outcome.log.filter("Close window called!").size(), 1);
}

void TestOfflineSignIn::tooManyAttempts()
{
    OfflineRig rig;
    QVector<Step> steps(10, rig.type(kRefused, kWrongCode));
    steps[0].after = kShown;
    // The right code is read, and refused, before the window hears that it is to close.
    steps.append({kRefused, [&] {
                      rig.display().type(appCode());
                      return rig.display().closeTopWindow();
                  }});
    const Outcome outcome = rig.play(steps);
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(!outcome.crashed);
    QVERIFY(outcome.verdicts.isEmpty());
    QCOMPARE(outcome.log.count(kRefused), 10);
    QCOMPARE(outcome.log.mid(outcome.log.lastIndexOf(kRefused) + 1),
             QStringList({"Close window called!",
                          "Offline Mode close requested. Last code was incorrect. "
                          "Terminate process"}));
}

void TestOfflineSignIn::attemptsAfterTheWait()
{
    OfflineRig rig;
    rig.set("OfflineTOTPMaxAttempts", 2);
    QFile clock(rig.root().path() + "/clock");
    const auto moveClock = [&](const char* offset) {
        if (!clock.open(QIODevice::WriteOnly) || clock.write(offset) < 0)
            qFatal("cannot move the clock");
        clock.close();
    };
    moveClock("+0");
    // Only what asks for the time of day: what measures time, such as a time-out, is left alone.
    rig.environment = {{"LD_PRELOAD", KORVEX_FAKETIME},
                       {"FAKETIME_NO_CACHE", "1"},
                       {"FAKETIME_TIMESTAMP_FILE", clock.fileName()},
                       {"FAKETIME_DONT_FAKE_MONOTONIC", "1"},
                       {"DONT_FAKE_MONOTONIC", "1"}};
    const Outcome outcome = rig.play({rig.type(kShown, kWrongCode),
                                      rig.type(kRefused, kWrongCode),
                                      {kRefused, [&] {
                                           moveClock("+90");
                                           rig.display().type(appCode(90));
                                           return true;
                                       }}});
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(outcome.lastVerdict(), kGranted);
}

void TestOfflineSignIn::recoveryCodeWorksOnce()
{
    OfflineRig rig;
    QString code;
    const Outcome outcome =
        rig.play({{kShown, [&] { return code = recoveryCode(), rig.display().type(code), true; }},
                  {kShown, [&] { return rig.display().type(code), true; }},
                  rig.close(kRefused)},
                 2);
    QCOMPARE(code.size(), 6);
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(outcome.lastVerdict(), kGranted);
    QCOMPARE(outcome.log.count("Trying recovery code..."), 2);
    QCOMPARE(outcome.log.count(kRefused), 1);
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(recoveryCode() != code);
}

void TestOfflineSignIn::closedWithoutCode_data()
{
    // Has no say once the user can prove himself.
    QTest::addColumn<QString>("failMode");
    for (const char* mode : {"bypass", "deny"})
        QTest::newRow(mode) << mode;
}

void TestOfflineSignIn::closedWithoutCode()
{
    QFETCH(QString, failMode);
    OfflineRig rig;
    rig.set("FailMode", failMode);
    const Outcome outcome = rig.play({rig.close(kShown)});
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(!outcome.crashed);
    QVERIFY(outcome.verdicts.isEmpty());
    QCOMPARE(outcome.lastVerdict(), QString());
}

void TestOfflineSignIn::wholeRoad()
{
    // An online sign-in brings the secret; then the service is stopped, and another needs it.
    OnlineRig rig;
    rig.usesApp();
    const Outcome online = rig.play({rig.typeOnPage(1)});
    QCOMPARE(online.lastVerdict(), QString("granted: User allowed by Korvex server"));
    QVERIFY(online.log.contains("Received new secret, update status: 1"));
    rig.service().stop();
    const Outcome offline = rig.play({rig.type(kShown, appCode())});
    QCOMPARE(offline.lastVerdict(), kGranted);
}

void TestOfflineSignIn::oneProcess()
{
    // The screen before the web engine and after it.
    OnlineRig rig;
    rig.usesApp();
    QVERIFY(rig.storeSecret());
    rig.failProbe();
    const Outcome outcome =
        rig.play({{kShown, [&] { return rig.display().type(appCode()), true; }},
                  {kPage,
                   [&] {
                       rig.failProbe();
                       return rig.typeOnPage(1).act();
                   }},
                  {kShown, [&] { return rig.display().type(appCode()), true; }}},
                 3);
    QCOMPARE(outcome.verdicts, QVector<int>({1, 1, 1}));
    QCOMPARE(outcome.log.filter("User access"),
             QStringList({"User access granted, reason: Correct code for Offline Mode!",
                          "User access granted, reason: User allowed by Korvex server",
                          "User access granted, reason: Correct code for Offline Mode!"}));
}

void TestOfflineSignIn::languageByKeyboard()
{
    OfflineRig rig;
    bool chosen = false;
    const Outcome outcome =
        rig.play({{kShown, [&] {
                       if (!chosen)
                           for (const char* key : {"shift+Tab", "space", "Down", "Down", "Return"})
                               rig.display().press(key);
                       chosen = true;
                       return rig.display().topWindowTitle() ==
                                  QStringLiteral("Korvex für Windows - Offlinemodus") &&
                              rig.display().closeTopWindow();
                   }}});
    QVERIFY(!outcome.crashed);
    QCOMPARE(outcome.exitCode, 0);
}

QTEST_GUILESS_MAIN(TestOfflineSignIn)
#include "tst_offline_sign_in.moc"

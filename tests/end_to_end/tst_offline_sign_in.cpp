#include "core/account_sid.h"
#include "core/logon_input.h"
#include "core/settings.h"
#include "core/user_registry_data.h"
#include "end_to_end/sign_in_rig.h"
#include "otp/offline_secret.h"

#include <QTest>

using namespace korvex;
using namespace korvex::test;

namespace {

const QString kSecret = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ";
const QString kShown = "Offline mode prompt initialized";
const QString kPage = "Invoke updateWebView";
const QString kRefused = "Code verification failed!";

QString outputOf(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished() ? QString(process.readAll()).trimmed() : QString();
}

/// What the user's authenticator app shows.
QString appCode()
{
    return outputOf("oathtool", {"--totp", "--base32", kSecret});
}

/// What a help desk tells.
QString toldRecoveryCode()
{
    return outputOf(KORVEX_MFA_SERVICE,
                    {"--tell-recovery-code", readString(Setting::RecoveryCode)});
}

/// What the user does once this has been logged, and again while it returns false.
struct Step
{
    QString after;
    std::function<bool()> act;
};

/// A user who may sign in offline and has the secret for it, at a service that does not answer.
class OfflineRig : public SignInRig
{
public:
    OfflineRig()
    {
        failProbe();
        if (!m_data.key()->writeNumber("OfflineAuth", 1) || !storeSecret(kSecret.toLatin1()))
            qFatal("cannot allow offline mode");
    }

    bool storeSecret(const QByteArray& secret) { return otp::storeOtpSecret(&m_data, secret); }
    /// The next sign-in does not reach the service.
    void failProbe()
    {
        service().setBehaviour("/", {.kind = mfa_service::Behaviour::Kind::Status500, .times = 1});
    }
    Step type(const std::function<QString()>& code)
    {
        return {kShown, [this, code] { return display().type(code()), true; }};
    }

    Outcome play(const QVector<Step>& steps, int signIns = 1)
    {
        const QString json = QStringLiteral("{\"user\":\"%1\"}").arg(knownAccount());
        int step = 0;
        int from = contentOf(root().logPath()).size();
        return run(QVector<QString>(signIns, json).toList(), [&] {
            const auto& [after, act] = steps[step];
            const int line = contentOf(root().logPath()).indexOf(after.toUtf8(), from);
            // A window without a window manager has to ask for the keyboard; the one with the web
            // view gets it by lying under the pointer.
            const bool ready =
                after == kPage ? display().hasVisibleWindow() : display().topWindowHasKeyboard();
            if (line < 0 || !ready || !act())
                return false;
            from = line + 1;
            return ++step == steps.size();
        });
    }

private:
    const UserRegistryData m_data{{.user = knownAccount(), .sid = sidOf(knownAccount())}};
};

} // namespace

class TestOfflineSignIn : public QObject
{
    Q_OBJECT

private slots:
    void entry();
    void refused();
    void oneProcess();
    void closedInAnotherLanguage();
};

void TestOfflineSignIn::entry()
{
    // '*' stands for the code's next digit, the rest for keys.
    for (const QString keys :
         {"a KP_* Z KP_* space KP_* minus * Left Delete Home * ctrl+a Escape *",
          "* * Return * 1 1 BackSpace BackSpace * * *", "ctrl+v Return", "ctrl+v Tab space"}) {
        OfflineRig rig;
        const auto press = [&] {
            const QString code = appCode();
            rig.display().copy(code + "99");
            int digit = 0;
            for (QString key : keys.split(' '))
                rig.display().press(key.contains('*') ? key.replace('*', code[digit++]) : key);
            return true;
        };
        const Outcome outcome = rig.play({{kShown, press}});
        QVERIFY2(outcome.verdicts == QVector<int>{1}, qPrintable(keys));
        QCOMPARE(outcome.log.mid(outcome.log.indexOf(kShown) + 1),
                 QStringList({"Time windows count: 3", "Input code is found.",
                              "Code verification success!", "Close window called!",
                              "User access granted, reason: Correct code for Offline Mode!",
                              "[Verbose 1] Cleaning up...", "[Verbose 1] Exiting with result: 1"}));
    }
}

void TestOfflineSignIn::refused()
{
    OfflineRig rig;
    rig.set("OfflineTOTPMaxAttempts", 1);
    // The right code is read, and refused, before the window hears that it is to close.
    const auto typeAndClose = [&] {
        return rig.display().type(appCode()), rig.display().closeTopWindow();
    };
    const auto wrongCode = [] { return "000000"; }; // no recovery code begins with a zero
    const Outcome outcome = rig.play({rig.type(wrongCode), {kRefused, typeAndClose}});
    QVERIFY(outcome.endedWithoutVerdict());
    QCOMPARE(outcome.log.mid(outcome.log.indexOf(kRefused)),
             QStringList({kRefused, "Too many verification attempts!", "Close window called!",
                          "Offline Mode close requested. Last code was incorrect. "
                          "Terminate process"}));
}

void TestOfflineSignIn::oneProcess()
{
    OfflineRig rig;
    rig.showRealPage();
    rig.set("sendNTLM", 0);
    rig.service().addUser(knownAccount(), "12345678901234567890"); // kSecret, decoded
    QVERIFY(rig.storeSecret("A"));
    QString told;
    const auto tell = [&] { return told = toldRecoveryCode(); };
    const auto typeOnPage = [&] {
        rig.failProbe();
        rig.display().press("ctrl+a");
        rig.display().type(appCode());
        return rig.service().waitForRequest("/signin/code", std::chrono::seconds(2));
    };
    // The screen before the web engine and after it; the page brings the right secret.
    const Outcome outcome = rig.play({rig.type(tell), {kPage, typeOnPage}, rig.type(appCode)}, 3);
    QCOMPARE(outcome.verdicts, QVector<int>({1, 1, 1}));
    QCOMPARE(outcome.log.count("Trying recovery code..."), 1);
    QCOMPARE(outcome.log.count("Close window called!"), 2);
    QVERIFY(toldRecoveryCode() != told);
}

void TestOfflineSignIn::closedInAnotherLanguage()
{
    OfflineRig rig;
    rig.set("FailMode", "bypass"); // has no say once the user can prove himself
    bool chosen = false;
    const auto choose = [&] {
        if (!chosen)
            for (const char* key : {"shift+Tab", "space", "Down", "Down", "Return"})
                rig.display().press(key);
        chosen = true;
        return rig.display().hasWindowTitled("Korvex für Windows - Offlinemodus") &&
               rig.display().closeTopWindow();
    };
    QVERIFY(rig.play({{kShown, choose}}).endedWithoutVerdict());
}

QTEST_GUILESS_MAIN(TestOfflineSignIn)
#include "tst_offline_sign_in.moc"

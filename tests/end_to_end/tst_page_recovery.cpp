#include "end_to_end/sign_in_rig.h"
#include "support/temporary_root.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>
#include <csignal>

using namespace korvex::test;
using Kind = korvex::mfa_service::Behaviour::Kind;

namespace {

/// The engine's processes that draw pages; the zygote that starts them is their parent.
QVector<pid_t> renderers(const QString& root)
{
    QVector<pid_t> found;
    const auto isEngine = [](const QString& pid) {
        return contentOf("/proc/" + pid + "/cmdline").contains("QtWebEngineProcess");
    };
    for (const QString& pid : QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs)) {
        const QByteArray status = contentOf("/proc/" + pid + "/stat");
        const QString parent = status.mid(status.lastIndexOf(')') + 4).split(' ').value(0);
        if (isEngine(pid) && isEngine(parent) &&
            contentOf("/proc/" + pid + "/environ").contains(root.toUtf8()))
            found << pid.toInt();
    }
    return found;
}

} // namespace

/// Pages that are not there at once, or not for good, and sign in all the same.
class TestPageRecovery : public QObject
{
    Q_OBJECT

private slots:
    void usable_data();
    void usable();
    void neverGetsAPanel();
    void processThatDies();
    void boxes();
    void notice();
};

void TestPageRecovery::usable_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("a picture that never comes")
        << "document.write('<img src=/hangs>'); setTimeout(() => { SUBMIT }, 2500)";
    QTest::newRow("a panel drawn late")
        << "const panel = document.querySelector('.panel'); panel.remove();"
           "setTimeout(() => { document.body.append(panel); }, 500); setTimeout(() => { SUBMIT }, "
           "1200)";
    QTest::newRow("another page before the load has ended")
        << "if (location.search) { setTimeout(() => { SUBMIT }, 500) } else {"
           "  document.write('<img src=/hangs>'); location = location.pathname + '?again'; }";
    QTest::newRow("two pages before the load has ended")
        << "if (location.search) { setTimeout(() => { SUBMIT }, 500) } else {"
           "  setTimeout(() => { location = '/hangs'; }, 0);"
           "  setTimeout(() => { location = location.pathname + '?again'; }, 100); }";
    QTest::newRow("a question before the page may be left")
        << "addEventListener('beforeunload', e => { e.preventDefault(); e.returnValue = 'stay'; });"
           "document.body.click();"
           "if (location.search) { setTimeout(() => { SUBMIT }, 500) } else"
           "  setTimeout(() => { location = location.pathname + '?again'; }, 500)";
}

void TestPageRecovery::usable()
{
    QFETCH(QString, script);
    SignInRig rig;
    rig.set("RequestTimeout", 1500);
    rig.service().setBehaviour("/hangs", {.kind = Kind::Hang});
    rig.showScript(script);
    bool covered = false;
    int windows = 0;
    const Outcome outcome = rig.signIn("alice", [&] {
        covered = covered || rig.display().topWindowGeometry().height() > 210;
        if (const int now = rig.display().visibleWindows(); now > 0)
            windows = now;
        return false;
    });
    QCOMPARE(outcome.lastVerdict(), "granted: User allowed by Korvex server");
    QCOMPARE(outcome.log.filter("Failed to load view"), QStringList());
    QVERIFY(!covered);    // shown in its fitted size only
    QCOMPARE(windows, 1); // the notice is gone in the end
}

void TestPageRecovery::neverGetsAPanel()
{
    SignInRig rig;
    rig.set("RequestTimeout", 300);
    // Two panels are none.
    rig.showScript("document.body.append(document.querySelector('.panel').cloneNode())");
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), "denied: Application exception");
    QCOMPARE(outcome.log.filter("Failed to load view").size(), 10);
    QCOMPARE(outcome.log.filter("Window center position"), QStringList()); // never shown
}

void TestPageRecovery::processThatDies()
{
    SignInRig rig;
    rig.showScript("if (document.cookie) { SUBMIT } else document.cookie = 'seen=1'");
    bool killed = false;
    const Outcome outcome = rig.signIn("alice", [&] {
        if (!rig.display().hasVisibleWindow())
            return false;
        for (const pid_t renderer : renderers(rig.root().path()))
            killed = ::kill(renderer, SIGKILL) == 0;
        return killed;
    });
    QVERIFY(killed);
    QCOMPARE(outcome.lastVerdict(), "granted: User allowed by Korvex server");
    QCOMPARE(outcome.log.filter("Failed to load view").size(), 1);
}

void TestPageRecovery::boxes()
{
    SignInRig rig;
    rig.showScript("addEventListener('keydown', () => {"
                   "  alert('<b>' + 'x'.repeat(5000));"
                   "  if (confirm('Go on?') && !confirm('Stop?') && prompt('Name', 'x') === 'y')"
                   "  { SUBMIT } }, {once: true})");
    const QStringList keys{"space", "Return", "Return", "Escape", "y", "Return"};
    int pressed = 0;
    const Outcome outcome = rig.signIn("alice", [&] {
        // The page's window alone first; then a box over it for each key but the first.
        const int windows = rig.display().visibleWindows();
        const int boxes =
            rig.root().logMessages().filter(QRegularExpression("Web (alert|question)")).size();
        const int wanted = QVector<int>{0, 1, 2, 3, 4, 4}[pressed];
        if (windows != (pressed == 0 ? 1 : 2) || boxes != wanted)
            return false;
        rig.display().press(keys[pressed]);
        return ++pressed == keys.size();
    });
    QCOMPARE(outcome.lastVerdict(), "granted: User allowed by Korvex server");
}

void TestPageRecovery::notice()
{
    SignInRig rig;
    rig.service().setBehaviour("/", {.kind = Kind::Hang});
    const Outcome outcome = rig.signIn("alice", [&] { return rig.display().closeTopWindow(); });
    QVERIFY(outcome.endedWithoutVerdict());
    QCOMPARE(outcome.log.last(), "Close requested, terminating...");
}

QTEST_GUILESS_MAIN(TestPageRecovery)
#include "tst_page_recovery.moc"

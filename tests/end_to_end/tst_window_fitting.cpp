#include "end_to_end/sign_in_rig.h"

#include <QTest>

using namespace korvex::test;

const QString kAlice = "{\"user\":\"alice\"}";
const QString kChanged = "Window resolution changed from width: 1280 height: 720 to ";

/// The window takes the size of the page's panel. The display has 1280 by 720 pixels, the panel 300
/// by 200 if the page's script says nothing else.
class TestWindowFitting : public QObject
{
    Q_OBJECT

private slots:
    void fit_data();
    void fit();
    void growingPanel();
    void signInsOfOneProcess();
};

void TestWindowFitting::fit_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("scale");
    QTest::addColumn<QRect>("window");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("small") << "" << "1" << QRect(490, 255, 300, 210)
                           << QStringList{"Web HTML panel window height: 200 width: 300",
                                          kChanged + "width: 300 height: 210",
                                          "Window center position aligned to x: 490 y: 255",
                                          "Skipping window resize, window already resized"};
    QTest::newRow("taller than the screen, at 200 %")
        << "panel.style.cssText = 'width: 400px; height: 590px'" << "2" << QRect(426, 40, 426, 640)
        << QStringList{"Window resolution ratio adjusted from 2, to 1.875"};
    // A window of no width shows nothing that could be closed, and so the page ends the sign-in.
    const QString end = ";setTimeout(() => { SUBMIT }, 1000)";
    const QStringList zero{kChanged + "width: 0 height: 10"};
    QTest::newRow("absent") << "panel.remove()" + end << "1" << QRect() << zero;
    QTest::newRow("doubled") << "document.body.append(panel.cloneNode())" + end << "1" << QRect()
                             << zero;
    QTest::newRow("no body") << "document.body.remove()" << "1" << QRect(0, 0, 1280, 720)
                             << QStringList{"[Warning] Can't resize window, loading dimensions "
                                            "from javascript failed"};
}

void TestWindowFitting::fit()
{
    QFETCH(QString, script);
    QFETCH(QString, scale);
    QFETCH(QRect, window);
    QFETCH(QStringList, lines);
    SignInRig rig;
    rig.environment.insert("QT_SCALE_FACTOR", scale);
    rig.showScript("const panel = document.querySelector('.panel');" + script);
    const Outcome outcome = rig.signIn("alice", [&] {
        return rig.display().topWindowGeometry() == window &&
               !rig.root().logMessages().filter(lines.last()).isEmpty() &&
               rig.display().closeTopWindow();
    });
    QCOMPARE(outcome.endedWithoutVerdict(), !window.isNull()); // closed, once it had this place
    for (const QString& line : lines)
        QVERIFY2(!outcome.log.filter(line).isEmpty(), qPrintable(line));
}

void TestWindowFitting::growingPanel()
{
    SignInRig rig;
    rig.showScript("const style = document.querySelector('.panel').style;"
                   "let height = 200, start; const grow = () => {"
                   "  style.cssText = `width: 350px; height: ${height += 2}px`;"
                   "  if (height < 300) requestAnimationFrame(grow);"
                   "  else document.title = Math.round(performance.now() - start); };"
                   "addEventListener('resize', () => { start = performance.now(); grow(); },"
                   "  {once: true})");
    const Outcome outcome = rig.signIn("alice", [&] {
        return rig.display().topWindowGeometry() == QRect(465, 205, 350, 310) &&
               rig.display().closeTopWindow();
    });
    QVERIFY(outcome.endedWithoutVerdict()); // closed
    // At most one pass in 150 ms, besides that of the load; the last title is how long it grew.
    const auto passes = outcome.log.filter("panel window height").size();
    const QString title = outcome.log.filter("Web title: ").last();
    const int duration = title.section(' ', -1).toInt();
    QVERIFY2(duration > 0 && passes <= 3 + duration / 150, qPrintable(title));
}

void TestWindowFitting::signInsOfOneProcess()
{
    // The page hands its token over and then does not yield: the sign-in ends while a pass waits
    // for its answer, and the next has its window fitted all the same.
    SignInRig rig;
    rig.set("RequestTimeout", 1000);
    rig.service().setBehaviour("/api/transaction/credentials",
                               {.kind = korvex::mfa_service::Behaviour::Kind::Hang});
    rig.showScript("addEventListener('resize', () => { new MutationObserver(() => {"
                   "    const end = Date.now() + 2000; while (Date.now() < end);"
                   "  }).observe(document.querySelector('title'), {childList: "
                   "true}); SUBMIT }, {once: true})");
    const Outcome outcome = rig.run(QStringList{kAlice, kAlice});
    QCOMPARE(outcome.verdicts, QVector<int>({0, 0}));
    QCOMPARE(outcome.log.filter(kChanged + "width: 300 height: 210").size(), 2);
    QVERIFY(outcome.log.filter("Can't").isEmpty());
}

QTEST_GUILESS_MAIN(TestWindowFitting)
#include "tst_window_fitting.moc"

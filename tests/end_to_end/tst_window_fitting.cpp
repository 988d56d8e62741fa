#include "end_to_end/sign_in_rig.h"

#include <QTest>

using namespace korvex::test;

const QString kChanged = "Window resolution changed from width: 1280 height: 720 to ";

/// The window takes the size of the page's panel. The display has 1280 by 720 pixels, the panel 300
/// by 200 if the page's script says nothing else.
class TestWindowFitting : public QObject
{
    Q_OBJECT

private slots:
    void fit();
    void growingPanel();
    void signInsOfOneProcess();
};

void TestWindowFitting::fit()
{
    const QStringList adjusted{"Window resolution ratio adjusted from 2, to 1.875"};
    for (const auto& [script, scale, window, lines] :
         {std::tuple("", "1", QRect(490, 255, 300, 210),
                     QStringList{"Web HTML panel window height: 200 width: 300",
                                 "Window center position aligned to x: 490 y: 255",
                                 "Skipping window resize, window already resized"}),
          // Taller than the screen.
          {"panel.style.cssText = 'width: 400px; height: 590px'", "2", QRect(426, 40, 426, 640),
           adjusted}}) {
        SignInRig rig;
        rig.environment.insert("QT_SCALE_FACTOR", scale);
        rig.showScript("const panel = document.querySelector('.panel');" + QString(script));
        const Outcome outcome = rig.signIn("alice", [&] {
            return rig.display().topWindowGeometry() == window &&
                   !rig.root().logMessages().filter(lines.last()).isEmpty() &&
                   rig.display().closeTopWindow();
        });
        QVERIFY2(outcome.endedWithoutVerdict(), script); // closed at this place
        for (const QString& line : lines)
            QVERIFY2(!outcome.log.filter(line).isEmpty(), qPrintable(line));
    }
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
    const int duration = outcome.log.filter("Web title: ").last().section(' ', -1).toInt();
    QVERIFY(duration > 0 && passes <= 3 + duration / 150);
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
    const Outcome outcome = rig.run({R"({"user":"alice"})", R"({"user":"alice"})"});
    QCOMPARE(outcome.verdicts, QVector<int>({0, 0}));
    QCOMPARE(outcome.log.filter(kChanged + "width: 300 height: 210").size(), 2);
    QVERIFY(outcome.log.filter("Can't").isEmpty());
}

QTEST_GUILESS_MAIN(TestWindowFitting)
#include "tst_window_fitting.moc"

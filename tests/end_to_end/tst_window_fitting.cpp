#include "end_to_end/sign_in_rig.h"

#include <QTest>

using korvex::test::Outcome;
using korvex::test::SignInRig;

const QString kAlice = QStringLiteral("{\"user\":\"alice\",\"ip\":\"\"}");
const QString kChanged = QStringLiteral("Window resolution changed from width: %1 height: %2 to "
                                        "width: %3 height: %4");

/// The window takes the size of the page's panel. The display has 1280 by 720 pixels, the panel 300
/// by 200 if the page's script says nothing else.
class TestWindowFitting : public QObject
{
    Q_OBJECT

private slots:
    void fit_data();
    void fit();
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
                                          kChanged.arg("1280", "720", "300", "210"),
                                          "Window center position aligned to x: 490 y: 255",
                                          "Skipping window resize, window already resized"};
    QTest::newRow("as large as can be without zoom")
        << "panel.style.cssText = 'width: 1280px; height: 670px'" << "1" << QRect(0, 20, 1280, 680)
        << QStringList{kChanged.arg("1280", "720", "1280", "680")};
    QTest::newRow("taller than the screen, at 200 %")
        << "panel.style.cssText = 'width: 400px; height: 590px'" << "2" << QRect(426, 40, 426, 640)
        << QStringList{"Window resolution ratio adjusted from 2, to 1.875"};
    // A window of no width shows nothing more, and so the page ends the sign-in.
    const QString end = QStringLiteral("setTimeout(() => { SUBMIT }, 1000)");
    const QStringList zero{kChanged.arg("1280", "720", "0", "10")};
    QTest::newRow("absent") << "panel.remove();" + end << "1" << QRect() << zero;
    QTest::newRow("doubled") << "document.body.append(panel.cloneNode());" + end << "1" << QRect()
                             << zero;
    QTest::newRow("no body") << "document.body.remove();" + end << "1" << QRect()
                             << QStringList{"[Warning] Can't resize window, loading dimensions "
                                            "from javascript failed"};
    QTest::newRow("growing with every frame")
        << "let height = 200, start; const grow = () => {"
           "  panel.style.cssText = `width: 350px; height: ${height += 2}px`;"
           "  if (height < 300) requestAnimationFrame(grow);"
           "  else document.title = Math.round(performance.now() - start); };"
           "addEventListener('resize', () => { start = performance.now(); grow(); }, {once: true})"
        << "1" << QRect(465, 205, 350, 310)
        << QStringList{kChanged.arg("1280", "720", "300", "210")};
}

void TestWindowFitting::fit()
{
    QFETCH(QString, script);
    QFETCH(QString, scale);
    QFETCH(QRect, window);
    QFETCH(QStringList, lines);
    SignInRig rig;
    rig.environment.insert(QStringLiteral("QT_SCALE_FACTOR"), scale);
    rig.showScript(QStringLiteral("const panel = document.querySelector('.panel');") + script);
    QRect shown;
    const Outcome outcome = rig.run({kAlice}, [&] {
        shown = rig.display().topWindowGeometry();
        QStringList log = rig.root().logMessages();
        for (const QString& line : log.replaceInStrings(QStringLiteral("[Verbose 3] "), QString()))
            lines.removeAll(line);
        return shown == window && lines.isEmpty() && rig.display().closeTopWindow();
    });
    QVERIFY(window.isNull() || shown == window);
    QCOMPARE(lines, QStringList());
    // At most one pass in 150 ms, besides that of the load; the last title is how long it grew.
    const auto passes = outcome.log.filter(QStringLiteral("panel window height")).size();
    const QString title = outcome.log.filter(QStringLiteral("Web title: ")).last();
    const int duration = title.section(QLatin1Char(' '), -1).toInt();
    QVERIFY2(duration == 0 || passes <= 3 + duration / 150, qPrintable(title));
}

void TestWindowFitting::signInsOfOneProcess()
{
    // The page hands its token over and then does not yield: the sign-in ends while a pass waits
    // for its answer, and the next has its window fitted all the same.
    SignInRig rig;
    rig.set(QStringLiteral("RequestTimeout"), 1000);
    rig.service().setBehaviour(QStringLiteral("/api/transaction/credentials"),
                               {.kind = korvex::mfa_service::Behaviour::Kind::Hang});
    rig.showScript(QStringLiteral("addEventListener('resize', () => { new MutationObserver(() => {"
                                  "    const end = Date.now() + 2000; while (Date.now() < end);"
                                  "  }).observe(document.querySelector('title'), {childList: "
                                  "true}); SUBMIT }, {once: true})"));
    const Outcome outcome = rig.run({kAlice, kAlice});
    QCOMPARE(outcome.verdicts, QVector<int>({0, 0}));
    QCOMPARE(outcome.log.filter(kChanged.arg("1280", "720", "300", "210")).size(), 2);
    QVERIFY(outcome.log.filter(QStringLiteral("Can't")).isEmpty());
}

QTEST_GUILESS_MAIN(TestWindowFitting)
#include "tst_window_fitting.moc"

#include "end_to_end/sign_in_rig.h"

#include <QRegularExpression>
#include <QTest>

using korvex::test::Outcome;
using korvex::test::SignInRig;

namespace {

const QString kAlice = QStringLiteral("{\"user\":\"alice\",\"ip\":\"\"}");

/// What the fitting wrote to the log, without the same pass repeated.
QStringList fittingLines(const Outcome& outcome)
{
    QStringList lines = outcome.log.filter(QRegularExpression(QStringLiteral(
        "panel window|resize window|window resize|resolution|Window center|window position")));
    lines.replaceInStrings(QStringLiteral("[Verbose 3] "), QString());
    return lines;
}

} // namespace

/// The window takes the size of the page's panel. The display has 1280 by 720 pixels.
class TestWindowFitting : public QObject
{
    Q_OBJECT

private slots:
    void panel_data();
    void panel();
    void growsWithItsPanel();
    void noPanel_data();
    void noPanel();
    void signInsOfOneProcess();
};

void TestWindowFitting::panel_data()
{
    QTest::addColumn<QString>("style");
    QTest::addColumn<QString>("scale");
    QTest::addColumn<QRect>("window"); // in pixels of the display
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("small") << "width: 301px; height: 200px" << "1" << QRect(489, 255, 301, 210)
                           << QStringList{"Web HTML panel window height: 200 width: 301",
                                          "Window resolution changed from width: 1280 height: 720 "
                                          "to width: 301 height: 210",
                                          "Window center position aligned to x: 489 y: 255"};
    QTest::newRow("the whole screen wide, a pixel less high than it may be")
        << "width: 1280px; height: 669px" << "1" << QRect(0, 20, 1280, 679)
        << QStringList{"Web HTML panel window height: 669 width: 1280",
                       "Window resolution changed from width: 1280 height: 720 to width: 1280 "
                       "height: 679",
                       "Window center position aligned to x: 0 y: 20"};
    QTest::newRow("taller than the screen")
        << "width: 400px; height: 900px" << "1" << QRect(490, 20, 299, 680)
        << QStringList{"Web HTML panel window height: 900 width: 400",
                       "Window resolution ratio adjusted from 1, to 1.33824",
                       "Window resolution changed from width: 1280 height: 720 to width: 299 "
                       "height: 680",
                       "Window center position aligned to x: 490 y: 20"};
    QTest::newRow("twice as tall as the screen")
        << "width: 400px; height: 1440px" << "1" << QRect(506, -124, 267, 967)
        << QStringList{"Web HTML panel window height: 1440 width: 400",
                       "[Warning] Can't fit inside the screen resolution width: 1280 height: 720 "
                       "ratio: 1",
                       "Window resolution changed from width: 1280 height: 720 to width: 267 "
                       "height: 967",
                       "Window center position aligned to x: 506 y: -124"};
    QTest::newRow("at 200 %") << "width: 400px; height: 590px" << "2" << QRect(426, 40, 426, 640)
                              << QStringList{"Web HTML panel window height: 590 width: 400",
                                             "Window resolution ratio adjusted from 2, to 1.875",
                                             "Window resolution changed from width: 640 height: "
                                             "360 to width: 213 height: 320",
                                             "Window center position aligned to x: 213 y: 20"};
}

void TestWindowFitting::panel()
{
    QFETCH(QString, style);
    QFETCH(QString, scale);
    QFETCH(QRect, window);
    QFETCH(QStringList, lines);
    SignInRig rig;
    rig.environment.insert(QStringLiteral("QT_SCALE_FACTOR"), scale);
    rig.showScript(
        QStringLiteral("document.querySelector('.panel').style.cssText = '%1'").arg(style));
    QRect shown;
    const Outcome outcome = rig.run({kAlice}, [&] {
        shown = rig.display().topWindowGeometry();
        return shown == window && rig.display().closeTopWindow();
    });
    QCOMPARE(shown, window);
    // Later passes, for the contents that changed with the window, find nothing to do.
    QStringList log = fittingLines(outcome);
    const QStringList later = log.mid(lines.size());
    QCOMPARE(log.mid(0, lines.size()), lines);
    QVERIFY2(later.filter(QStringLiteral("changed from")).isEmpty(),
             qPrintable(later.join(QLatin1Char('\n'))));
}

void TestWindowFitting::growsWithItsPanel()
{
    // A pixel with every frame, from the moment the window has the panel's size.
    SignInRig rig;
    rig.showScript(QStringLiteral(
        "const style = document.querySelector('.panel').style; let height = 200, start;"
        "const grow = () => { height += 2; style.height = height + 'px'; style.width = '350px';"
        "  if (height < 300) requestAnimationFrame(grow);"
        "  else document.title = 'Grown in ' + Math.round(performance.now() - start); };"
        "addEventListener('resize', () => { start = performance.now(); grow(); }, {once: true});"));
    const QRect grown(465, 205, 350, 310);
    QRect shown;
    const Outcome outcome = rig.run({kAlice}, [&] {
        shown = rig.display().topWindowGeometry();
        return shown == grown && rig.display().closeTopWindow();
    });
    QCOMPARE(shown, grown);
    // Not with each of the 50 changes, but at most one pass in 150 ms.
    const QStringList titles = outcome.log.filter(QStringLiteral("Web title: Grown in "));
    QCOMPARE(titles.size(), 1);
    const int duration = titles.first().section(QLatin1Char(' '), -1).toInt();
    const auto passes = outcome.log.filter(QStringLiteral("panel window height")).size();
    QVERIFY2(passes <= 3 + duration / 150,
             qPrintable(QStringLiteral("%1 passes in %2 ms").arg(passes).arg(duration)));
}

void TestWindowFitting::noPanel_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("line");
    const QString zero = QStringLiteral("Window resolution changed from width: 1280 height: 720 "
                                        "to width: 0 height: 10");
    QTest::newRow("absent") << "document.querySelector('.panel').remove();" << zero;
    QTest::newRow("doubled")
        << "document.body.append(document.querySelector('.panel').cloneNode(true));" << zero;
    QTest::newRow("no body") << "document.body.remove();"
                             << "[Warning] Can't resize window, loading dimensions from javascript "
                                "failed";
}

void TestWindowFitting::noPanel()
{
    QFETCH(QString, script);
    QFETCH(QString, line);
    SignInRig rig;
    // The window cannot be seen any more, and so the page ends the sign-in.
    rig.showScript(script + QStringLiteral("setTimeout(() => { SUBMIT }, 1000)"));
    const Outcome outcome = rig.run({kAlice});
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QVERIFY2(fittingLines(outcome).contains(line),
             qPrintable(fittingLines(outcome).join(QLatin1Char('\n'))));
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
    QVERIFY(!outcome.crashed);
    const QStringList lines = fittingLines(outcome);
    QCOMPARE(lines.filter(QStringLiteral("to width: 300 height: 210")).size(), 2);
    QCOMPARE(lines.filter(QStringLiteral("[Warning]")), QStringList());
}

QTEST_GUILESS_MAIN(TestWindowFitting)
#include "tst_window_fitting.moc"

#include "web/window_fit.h"

#include <QTest>
#include <QVariant>
#include <limits>

using korvex::fitWindow;
using korvex::readPageDimensions;

class TestWindowFit : public QObject
{
    Q_OBJECT

private slots:
    void fit_data();
    void fit();
    void answer_data();
    void answer();
};

void TestWindowFit::fit_data()
{
    QTest::addColumn<QSize>("panel");
    QTest::addColumn<QSize>("available");
    QTest::addColumn<double>("pixelRatio");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("ratio");
    QTest::addColumn<bool>("fits");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* name, QSize panel, QSize available, double pixelRatio,
                        QSize size, double ratio = 1, const char* message = "", bool fits = true) {
        QTest::newRow(name) << panel << available << pixelRatio << size << ratio << fits << message;
    };
    row("no panel", {0, 0}, {1280, 720}, 1, {0, 10});
    row("small", {300, 200}, {1280, 720}, 1, {300, 210});
    row("as high as can be", {400, 670}, {1280, 720}, 1, {400, 680});
    row("wider than the screen", {5000, 200}, {1280, 720}, 1, {5000, 210});
    row("a pixel too high", {400, 671}, {1280, 720}, 1, {399, 680}, 681 / 680.0,
        "Window resolution ratio adjusted from 1, to 1.00147");
    row("zoomed", {400, 900}, {1280, 800}, 1, {334, 760}, 910 / 760.0,
        "Window resolution ratio adjusted from 1, to 1.19737");
    row("zoomed to the limit", {401, 590}, {1280, 440}, 1, {267, 400}, 1.5,
        "Window resolution ratio adjusted from 1, to 1.5");
    row("a pixel beyond the limit", {401, 591}, {1280, 440}, 1, {267, 401}, 1.5,
        "Can't fit inside the screen resolution width: 1280 height: 440 ratio: 1", false);
    row("far beyond the limit", {400, 900}, {1280, 400}, 1, {267, 607}, 1.5,
        "Can't fit inside the screen resolution width: 1280 height: 400 ratio: 1", false);
    row("limit at 150 %", {400, 900}, {853, 480}, 1.5, {200, 455}, 2,
        "Can't fit inside the screen resolution width: 1279.5 height: 720 ratio: 1.5", false);
    row("zoomed at 200 %", {400, 600}, {640, 360}, 2, {210, 320}, 610 / 320.0,
        "Window resolution ratio adjusted from 2, to 1.90625");
    row("numbers of seven digits", {400, 8192}, {1280000, 1000}, 1, {267, 5468}, 1.5,
        "Can't fit inside the screen resolution width: 1.28e+06 height: 1000 ratio: 1", false);
    row("all of the screen reserved", {400, 600}, {1280, 40}, 1, {267, 407}, 1.5,
        "Can't fit inside the screen resolution width: 1280 height: 40 ratio: 1", false);
    row("no screen worth the name", {0, 0}, {1, 1}, 1, {0, 7}, 1.5,
        "Can't fit inside the screen resolution width: 1 height: 1 ratio: 1", false);
}

void TestWindowFit::fit()
{
    QFETCH(QSize, panel);
    QFETCH(QSize, available);
    QFETCH(double, pixelRatio);
    QFETCH(double, ratio);
    const auto fit = fitWindow(panel, available, pixelRatio);
    QTEST(fit.size, "size");
    QCOMPARE(fit.zoom, 1 / ratio);
    QTEST(fit.fits, "fits");
    QTEST(fit.message, "message");
}

void TestWindowFit::answer_data()
{
    QTest::addColumn<QVariant>("width");
    QTest::addColumn<int>("read"); // -1: refused
    QTest::newRow("integer") << QVariant(400) << 400;
    QTest::newRow("double") << QVariant(399.6) << 400;
    QTest::newRow("negative") << QVariant(-5) << 0;
    QTest::newRow("huge") << QVariant(1e300) << 8192;
    QTest::newRow("infinite") << QVariant(std::numeric_limits<double>::infinity()) << 8192;
    QTest::newRow("no number") << QVariant(std::numeric_limits<double>::quiet_NaN()) << -1;
    QTest::newRow("null") << QVariant::fromValue(nullptr) << -1;
    QTest::newRow("list") << QVariant(QVariantList{400}) << -1;
    QTest::newRow("absent") << QVariant() << -1;
}

void TestWindowFit::answer()
{
    QFETCH(QVariant, width);
    QFETCH(int, read);
    QVariantMap map{{"windowWidth", 1},  {"windowHeight", 2}, {"scrollWidth", 3},
                    {"scrollHeight", 4}, {"panelHeight", 5},  {"panelWidth", width}};
    if (!width.isValid())
        map.remove(QStringLiteral("panelWidth"));
    const auto page = readPageDimensions(map);
    QCOMPARE(page ? page->panel : QSize(), read < 0 ? QSize() : QSize(read, 5));
    QVERIFY(!page || (page->window == QSize(1, 2) && page->scroll == QSize(3, 4)));
    QVERIFY(!readPageDimensions(width)); // no map
}

QTEST_APPLESS_MAIN(TestWindowFit)
#include "tst_window_fit.moc"

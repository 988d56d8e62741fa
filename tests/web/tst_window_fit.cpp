#include "web/window_fit.h"

#include <QTest>
#include <QVariant>
#include <limits>

class TestWindowFit : public QObject
{
    Q_OBJECT

private slots:
    void fit_data();
    void fit();
    void answer();
};

void TestWindowFit::fit_data()
{
    QTest::addColumn<QSize>("panel");
    QTest::addColumn<QSize>("available");
    QTest::addColumn<double>("pixelRatio");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("ratio");
    QTest::addColumn<QString>("message");
    const auto row = [](QSize panel, QSize available, double pixelRatio, QSize size,
                        double ratio = 1, const QString& message = {}) {
        QTest::addRow("%d x %d on %d x %d at %g", panel.width(), panel.height(), available.width(),
                      available.height(), pixelRatio)
            << panel << available << pixelRatio << size << ratio << message;
    };
    const QString adjusted = QStringLiteral("Window resolution ratio adjusted from %1, to %2");
    const QString tooTall =
        QStringLiteral("Can't fit inside the screen resolution width: %1 height: %2 ratio: %3");
    row({0, 0}, {1280, 720}, 1, {0, 10});
    row({400, 670}, {1280, 720}, 1, {400, 680});
    row({400, 671}, {1280, 720}, 1, {399, 680}, 681 / 680.0, adjusted.arg("1", "1.00147"));
    row({400, 900}, {1280, 800}, 1, {334, 760}, 910 / 760.0, adjusted.arg("1", "1.19737"));
    row({401, 590}, {1280, 440}, 1, {267, 400}, 1.5, adjusted.arg("1", "1.5"));
    row({401, 591}, {1280, 440}, 1, {267, 401}, 1.5, tooTall.arg("1280", "440", "1"));
    row({400, 900}, {1280, 400}, 1, {267, 607}, 1.5, tooTall.arg("1280", "400", "1"));
    row({400, 900}, {853, 480}, 1.5, {200, 455}, 2, tooTall.arg("1279.5", "720", "1.5"));
    row({400, 600}, {640, 360}, 2, {210, 320}, 610 / 320.0, adjusted.arg("2", "1.90625"));
    row({8192, 8192}, {1280000, 9}, 1, {5461, 5468}, 1.5, tooTall.arg("1.28e+06", "9", "1"));
    row({0, 0}, {1280, 40}, 1, {0, 7}, 1.5, tooTall.arg("1280", "40", "1"));
}

void TestWindowFit::fit()
{
    QFETCH(QSize, panel);
    QFETCH(QSize, available);
    QFETCH(double, pixelRatio);
    QFETCH(double, ratio);
    const auto fit = korvex::fitWindow(panel, available, pixelRatio);
    QTEST(fit.size, "size");
    QCOMPARE(fit.zoom, 1 / ratio);
    QTEST(fit.message, "message");
    QCOMPARE(fit.fits, !fit.message.startsWith(QLatin1String("Can't")));
}

void TestWindowFit::answer()
{
    using Limits = std::numeric_limits<double>;
    QVariantMap map{{"windowWidth", 1},
                    {"windowHeight", 2},
                    {"scrollWidth", 3},
                    {"scrollHeight", 4},
                    {"panelHeight", 5}};
    QVERIFY(!korvex::readPageDimensions(map)); // a number is missing
    const auto width = [&map](const QVariant& value) {
        map[QStringLiteral("panelWidth")] = value;
        const auto page = korvex::readPageDimensions(map);
        return page ? page->panel.width() : -1;
    };
    QCOMPARE(width(400), 400);
    QCOMPARE(width(399.6), 400);
    QCOMPARE(width(-5), 0);
    QCOMPARE(width(1e300), 8192);
    QCOMPARE(width(Limits::infinity()), 8192);
    for (const QVariant& refused : {QVariant(Limits::quiet_NaN()), QVariant(QVariantList{400}),
                                    QVariant::fromValue(nullptr), QVariant()})
        QCOMPARE(width(refused), -1);
    QVERIFY(!korvex::readPageDimensions(400));
}

QTEST_APPLESS_MAIN(TestWindowFit)
#include "tst_window_fit.moc"

#include "web/window_fit.h"

#include <QTest>
#include <QVariant>
#include <limits>

class TestWindowFit : public QObject
{
    Q_OBJECT

private slots:
    void fit();
    void answer();
};

void TestWindowFit::fit()
{
    const QString adjusted = QStringLiteral("Window resolution ratio adjusted from %1, to %2");
    const QString tooTall =
        QStringLiteral("Can't fit inside the screen resolution width: %1 height: %2 ratio: %3");
    const auto check = [](QSize panel, QSize available, double pixelRatio, QSize size, double ratio,
                          const QString& message) {
        const auto fit = korvex::fitWindow(panel, available, pixelRatio);
        QCOMPARE(fit.message, message);
        QCOMPARE(fit.size, size);
        QCOMPARE(fit.zoom, 1 / ratio);
        QCOMPARE(fit.fits, !message.startsWith(QLatin1String("Can't")));
    };
    check({0, 0}, {1280, 720}, 1, {0, 10}, 1, {});
    check({400, 670}, {1280, 720}, 1, {400, 680}, 1, {});
    check({400, 671}, {1280, 720}, 1, {399, 680}, 681 / 680.0, adjusted.arg("1", "1.00147"));
    check({400, 900}, {1280, 800}, 1, {334, 760}, 910 / 760.0, adjusted.arg("1", "1.19737"));
    check({401, 590}, {1280, 440}, 1, {267, 400}, 1.5, adjusted.arg("1", "1.5"));
    check({401, 591}, {1280, 440}, 1, {267, 401}, 1.5, tooTall.arg("1280", "440", "1"));
    check({400, 900}, {1280, 400}, 1, {267, 607}, 1.5, tooTall.arg("1280", "400", "1"));
    check({400, 900}, {853, 480}, 1.5, {200, 455}, 2, tooTall.arg("1279.5", "720", "1.5"));
    check({400, 600}, {640, 360}, 2, {210, 320}, 610 / 320.0, adjusted.arg("2", "1.90625"));
    check({0, 0}, {1280000, 40}, 1, {0, 7}, 1.5, tooTall.arg("1.28e+06", "40", "1"));
}

void TestWindowFit::answer()
{
    using Limits = std::numeric_limits<double>;
    QVariantMap map;
    for (const char* const side :
         {"windowWidth", "windowHeight", "scrollWidth", "scrollHeight", "panelHeight"})
        map[side] = 1;
    QVERIFY(!korvex::readPageDimensions(map) && !korvex::readPageDimensions(400));
    const QVector<std::pair<QVariant, int>> widths = {{400, 400},
                                                      {399.6, 400},
                                                      {-5, 0},
                                                      {1e300, 8192},
                                                      {Limits::infinity(), 8192},
                                                      {Limits::quiet_NaN(), -1},
                                                      {QVariantList{400}, -1},
                                                      {QVariant(), -1}};
    for (const auto& [width, read] : widths) {
        map[QStringLiteral("panelWidth")] = width;
        const auto page = korvex::readPageDimensions(map);
        QCOMPARE(page ? page->panel.width() : -1, read);
    }
}

QTEST_APPLESS_MAIN(TestWindowFit)
#include "tst_window_fit.moc"

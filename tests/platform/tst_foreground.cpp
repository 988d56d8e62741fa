#include "platform/foreground.h"

#include <QGuiApplication>
#include <QWindow>
#include <QtTest>

class TestForeground : public QObject
{
    Q_OBJECT

private slots:
    void bringsTheNamedWindow();
};

void TestForeground::bringsTheNamedWindow()
{
    QWindow first;
    QWindow second;
    QWindow neverShown;
    for (QWindow* const window : {&first, &second}) {
        window->resize(100, 100);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
    }
    for (QWindow* const window : {&first, &second, &first}) {
        korvex::platform::bringToForeground(window->winId());
        QTRY_COMPARE(QGuiApplication::focusWindow(), window);
    }
    korvex::platform::bringToForeground(0);
    korvex::platform::bringToForeground(first.winId() + second.winId() + 1000);
    QCoreApplication::processEvents();
    QCOMPARE(QGuiApplication::focusWindow(), &first);
    QVERIFY(neverShown.handle() == nullptr);
}

QTEST_MAIN(TestForeground)

#include "tst_foreground.moc"

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
    const QWindow neverShown;
    QWindow first;
    QWindow second;
    for (QWindow* const window : {&first, &second}) {
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
    }
    for (QWindow* const window : {&first, &second}) {
        korvex::platform::bringToForeground(window->winId());
        QTRY_COMPARE(QGuiApplication::focusWindow(), window);
    }
    korvex::platform::bringToForeground(0);
    QVERIFY2(neverShown.handle() == nullptr, "looking for a window makes none");
}

QTEST_MAIN(TestForeground)
#include "tst_foreground.moc"

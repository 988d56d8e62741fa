#include "core/log.h"
#include "support/temporary_root.h"

#include <QDateTime>
#include <QtTest>
#include <windows.h>

using korvex::Logger;

/// What of the log depends on the system: the prefix and the ends of lines.
class TestLogWindows : public QObject
{
    Q_OBJECT

private slots:
    void prefix();
};

void TestLogWindows::prefix()
{
    const korvex::test::TemporaryRoot root;
    // Local time and its distance from UTC as the system itself tells them.
    SYSTEMTIME time{};
    GetLocalTime(&time);
    TIME_ZONE_INFORMATION zone{};
    const bool isSummer = GetTimeZoneInformation(&zone) == TIME_ZONE_ID_DAYLIGHT;
    const LONG hours = -(zone.Bias + (isSummer ? zone.DaylightBias : zone.StandardBias)) / 60;
    QVERIFY(Logger().log(0, "first\nsecond"));

    QDateTime moment(QDate(time.wYear, time.wMonth, time.wDay),
                     QTime(time.wHour, time.wMinute, time.wSecond), Qt::UTC);
    QStringList possible;
    for (int second = 0; second < 10; ++second)
        possible << QStringLiteral(
                        "[%1 UTC%2%3] [KorvexLogin 5.5.0-67381a3] [%4:%5] first\\u000asecond\r\n")
                        .arg(moment.addSecs(second).toString("yyyy-MM-dd hh:mm:ss"),
                             hours >= 0 ? "+" : "")
                        .arg(hours)
                        .arg(GetCurrentProcessId())
                        .arg(GetCurrentThreadId());
    const QByteArray log = korvex::test::contentOf(root.logPath());
    QVERIFY2(possible.contains(log), log);
}

QTEST_GUILESS_MAIN(TestLogWindows)

#include "tst_log_windows.moc"

#include "core/log.h"
#include "support/temporary_root.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QtTest>
#include <optional>
#include <windows.h>

using korvex::Logger;

/// What of the log depends on the system: the prefix, and what stands in the way of the file.
class TestLogWindows : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emplace(); }
    void cleanup() { m_root.reset(); }

    void prefix();
    void linesEndAsOnWindows();
    void unwritable();

private:
    QByteArray logBytes() const
    {
        QFile file(m_root->logPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no log");
    }

    std::optional<korvex::test::TemporaryRoot> m_root;
};

void TestLogWindows::prefix()
{
    // Local time and its distance from UTC as the system itself tells them.
    SYSTEMTIME time{};
    GetLocalTime(&time);
    TIME_ZONE_INFORMATION zone{};
    const bool isSummer = GetTimeZoneInformation(&zone) == TIME_ZONE_ID_DAYLIGHT;
    const LONG hours = -(zone.Bias + (isSummer ? zone.DaylightBias : zone.StandardBias)) / 60;
    QVERIFY(Logger().log(0, "message"));

    QDateTime moment(QDate(time.wYear, time.wMonth, time.wDay),
                     QTime(time.wHour, time.wMinute, time.wSecond), Qt::UTC);
    QStringList possible;
    for (int second = 0; second < 10; ++second)
        possible << QStringLiteral("[%1 UTC%2%3] [KorvexLogin 5.5.0-67381a3] [%4:%5] message\r\n")
                        .arg(moment.addSecs(second).toString("yyyy-MM-dd hh:mm:ss"),
                             hours >= 0 ? "+" : "")
                        .arg(hours)
                        .arg(GetCurrentProcessId())
                        .arg(GetCurrentThreadId());
    QVERIFY2(possible.contains(logBytes()), logBytes());
}

void TestLogWindows::linesEndAsOnWindows()
{
    QVERIFY(Logger().log(0, "first\nsecond"));
    QVERIFY2(logBytes().endsWith("] first\r\nsecond\r\n"), logBytes());
}

void TestLogWindows::unwritable()
{
    const QString log = m_root->logPath();
    const QString logs = QFileInfo(log).path();
    const QString root = QFileInfo(logs).path();
    for (const QString& obstacle : {root, logs, log}) {
        m_root.reset();
        m_root.emplace();
        QVERIFY(QDir().mkpath(QFileInfo(obstacle).path()));
        // A file in the place of a folder, and a folder in the place of the file.
        QVERIFY(obstacle == log ? QDir().mkdir(obstacle)
                                : QFile(obstacle).open(QIODevice::WriteOnly));
        QVERIFY2(!Logger().log(0, "message"), qPrintable(obstacle));
        QFile::remove(obstacle);
    }
}

QTEST_GUILESS_MAIN(TestLogWindows)

#include "tst_log_windows.moc"

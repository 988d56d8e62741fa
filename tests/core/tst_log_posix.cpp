#include "core/log.h"
#include "support/temporary_root.h"

#include <QDateTime>
#include <QFile>
#include <QtTest>
#include <ctime>
#include <unistd.h>

using korvex::Logger;
using korvex::test::TemporaryRoot;

/// What of the log depends on the system: the prefix, and a file that takes no text.
class TestLogPosix : public QObject
{
    Q_OBJECT

private slots:
    void prefix_data();
    void prefix();
    void fullDisk();
};

void TestLogPosix::prefix_data()
{
    QTest::addColumn<int>("minutes");
    QTest::addColumn<QString>("shown");
    QTest::newRow("UTC0") << 0 << "UTC+0";
    QTest::newRow("<+0530>-5:30") << 330 << "UTC+5";
    QTest::newRow("<-0330>3:30") << -210 << "UTC-3";
}

void TestLogPosix::prefix()
{
    const TemporaryRoot root;
    QFETCH(int, minutes);
    QFETCH(QString, shown);
    qputenv("TZ", QTest::currentDataTag());
    ::tzset();
    const QDateTime start = QDateTime::currentDateTimeUtc();
    QVERIFY(Logger().log(0, "message"));
    const QDateTime end = QDateTime::currentDateTimeUtc().addSecs(1);
    qunsetenv("TZ");
    ::tzset();

    QStringList possible;
    for (QDateTime time = start; time < end; time = time.addSecs(1)) {
        const QString local = time.addSecs(qint64(60) * minutes).toString(Qt::ISODate);
        possible << QStringLiteral("[%1 %2 %3] [KorvexLogin 5.5.0-67381a3] [%4:%5] message\n")
                        .arg(local.left(10), local.mid(11, 8), shown)
                        .arg(::getpid())
                        .arg(::gettid());
    }
    const QByteArray log = korvex::test::contentOf(root.logPath());
    QVERIFY2(possible.contains(log), log);
}

void TestLogPosix::fullDisk()
{
    const TemporaryRoot root;
    QVERIFY(Logger().log(0, "makes the folder"));
    QVERIFY(QFile::remove(root.logPath()) && QFile::link("/dev/full", root.logPath()));
    QVERIFY(!Logger().log(0, "message"));
}

int main(int argc, char** argv)
{
    qputenv("LC_ALL", "ar_EG.UTF-8"); // where Qt writes other digits
    const QCoreApplication application(argc, argv);
    TestLogPosix test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_log_posix.moc"

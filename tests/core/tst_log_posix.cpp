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
    void prefix();
    void fullDisk();
};

void TestLogPosix::prefix()
{
    const TemporaryRoot root;
    const std::tuple<const char*, int, const char*> zones[] = {
        {"UTC0", 0, "+0"}, {"<+0530>-5:30", 330, "+5"}, {"<-0330>3:30", -210, "-3"}};
    for (const auto& [zone, minutes, offset] : zones) {
        qputenv("TZ", zone);
        ::tzset();
        QFile::remove(root.logPath());
        const QDateTime start = QDateTime::currentDateTimeUtc();
        QVERIFY(Logger().log(0, "message"));
        QStringList possible;
        for (int second = 0; second < 10; ++second)
            possible << QStringLiteral("[%1 UTC%2] [KorvexLogin 5.5.0-67381a3] [%3:%4] message\n")
                            .arg(start.addSecs(60 * minutes + second)
                                     .toString(Qt::ISODate)
                                     .replace('T', ' ')
                                     .remove('Z'),
                                 offset)
                            .arg(::getpid())
                            .arg(::gettid());
        const QByteArray log = korvex::test::contentOf(root.logPath());
        QVERIFY2(possible.contains(log), log);
    }
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

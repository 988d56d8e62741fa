#include "core/log.h"
#include "platform/copies.h"
#include "support/temporary_root.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QtTest>
#include <ctime>
#include <memory>
#include <unistd.h>

using korvex::Logger;
using korvex::test::runCopies;

/// What of the log depends on the system: the prefix, and what stands in the way of the file.
class TestLogPosix : public QObject
{
    Q_OBJECT

private slots:
    void init() { renewRoot(); }
    void cleanup()
    {
        qunsetenv("TZ");
        ::tzset();
        m_root.reset();
    }

    void prefix();
    void prefixInAnArabicCountry();
    void unwritable();
    void registryFault();

private:
    void renewRoot()
    {
        m_root.reset(); // before the next one: it names itself in the environment
        m_root = std::make_unique<korvex::test::TemporaryRoot>();
    }
    static void setTimeZone(const QByteArray& zone)
    {
        qputenv("TZ", zone);
        ::tzset();
    }
    QByteArray logBytes() const
    {
        QFile file(m_root->logPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no log");
    }

    std::unique_ptr<korvex::test::TemporaryRoot> m_root;
};

void TestLogPosix::prefix()
{
    const struct
    {
        const char* zone;
        int minutes;
        const char* shown;
    } zones[] = {{"UTC0", 0, "UTC+0"},
                 {"<-03>3", -180, "UTC-3"},
                 {"<+02>-2", 120, "UTC+2"},
                 {"<+0530>-5:30", 330, "UTC+5"},
                 {"<-0330>3:30", -210, "UTC-3"}};
    for (const auto& [zone, minutes, shown] : zones) {
        renewRoot();
        setTimeZone(zone);
        QDateTime time = QDateTime::currentDateTimeUtc();
        QVERIFY(Logger().log(0, "message"));
        const QDateTime end = QDateTime::currentDateTimeUtc().addSecs(1);
        QStringList possible;
        for (; time < end; time = time.addSecs(1)) {
            const QString local = time.addSecs(qint64(60) * minutes).toString(Qt::ISODate);
            possible << QStringLiteral("[%1 %2 %3] [KorvexLogin 5.5.0-67381a3] [%4:%5] message\n")
                            .arg(local.left(10), local.mid(11, 8), shown)
                            .arg(::getpid())
                            .arg(::gettid());
        }
        QVERIFY2(possible.contains(logBytes()), logBytes());
    }
}

void TestLogPosix::prefixInAnArabicCountry()
{
    qputenv("LC_ALL", "ar_EG.UTF-8");
    runCopies(1, {});
    qunsetenv("LC_ALL");
    QVERIFY2(logBytes().startsWith("[2"), logBytes().left(100));
}

void TestLogPosix::unwritable()
{
    const QString root = "/ProgramData/Korvex/Logon";
    const QString log = root + "/Logs/korvex-credential-provider.log";
    const QList<std::pair<QString, QString>> obstacles{
        {root, "file"}, {root + "/Logs", "file"}, {log, "folder"}, {log, "/dev/full"}};
    for (const auto& [where, obstacle] : obstacles) {
        renewRoot();
        const QString path = m_root->path() + where;
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        QVERIFY(obstacle == "file"     ? QFile(path).open(QIODevice::WriteOnly)
                : obstacle == "folder" ? QDir().mkpath(path)
                                       : QFile::link(obstacle, path));
        QVERIFY2(!Logger().log(0, "message"), qPrintable(path));
    }
}

void TestLogPosix::registryFault()
{
    QFile registry(m_root->path() + "/registry.db");
    QVERIFY(registry.open(QIODevice::WriteOnly));
    registry.write(QByteArray(8192, '?'));
    registry.close();
    runCopies(1, {});
    const QStringList messages = m_root->logMessages();
    QCOMPARE(messages.size(), 2);
    QVERIFY2(messages[0].startsWith("[Error] ") && messages[0].contains(registry.fileName()),
             qPrintable(messages[0]));
    QVERIFY(registry.open(QIODevice::ReadOnly));
    QCOMPARE(registry.readAll(), QByteArray(8192, '?'));
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--copy") == 0) {
        korvex::test::awaitRelease();
        return korvex::logger().log(0, "message") ? 0 : 1;
    }
    const QCoreApplication application(argc, argv);
    TestLogPosix test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_log_posix.moc"

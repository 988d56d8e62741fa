#include "platform/data_protection.h"
#include "platform/fault_recorder.h"
#include "support/temporary_root.h"

#include <QProcess>
#include <QtTest>
#include <sys/stat.h>
#include <unistd.h>

using korvex::platform::protectData;
using korvex::platform::unprotectData;
using korvex::test::FaultRecorder;

class TestDataProtectionPosix : public QObject
{
    Q_OBJECT

private slots:
    void anotherVersionOrKey();
    void refusedKeys();

private:
    korvex::test::TemporaryRoot m_root;
    const QString m_key = QStringLiteral("%1/keys/%2.key").arg(m_root.path()).arg(::geteuid());
};

void TestDataProtectionPosix::anotherVersionOrKey()
{
    const QByteArray blob = protectData("secret").value();
    QVERIFY(!unprotectData(QByteArray(blob).replace(0, 1, "\2")));
    QVERIFY(QFile::remove(m_key));
    FaultRecorder faults;
    QVERIFY(!unprotectData(blob));
    QCOMPARE(faults.take().size(), 1);
    QVERIFY2(!QFile::exists(m_key), "reading makes no key");
    QVERIFY(protectData("another"));
    QVERIFY2(!unprotectData(blob), "another key does not open it");
}

void TestDataProtectionPosix::refusedKeys()
{
    qputenv("KEY", m_key.toLocal8Bit());
    // Each with another fault than the one before, because a repeated one is told once. Only root
    // can give a file to another user.
    for (const char* const command :
         {"chmod 640 $KEY", "truncate -s 33 $KEY", "chmod 602 $KEY",
          "mv $KEY $KEY.moved && ln -s $KEY.moved $KEY", "chown 65534 $KEY || chmod 640 $KEY"}) {
        QFile::remove(m_key);
        const mode_t before = ::umask(0);
        const QByteArray blob = protectData("secret").value();
        ::umask(before);
        QVERIFY(unprotectData(blob));
        QCOMPARE(QProcess::execute("sh", {"-c", command}), 0);
        FaultRecorder faults;
        QVERIFY2(!unprotectData(blob) && !protectData("another"), command);
        QVERIFY(faults.take().join('\n').contains(m_key));
    }
}

QTEST_GUILESS_MAIN(TestDataProtectionPosix)
#include "tst_data_protection_posix.moc"

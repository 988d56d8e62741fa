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
    void init()
    {
        m_root.emplace();
        m_key = QStringLiteral("%1/keys/%2.key").arg(m_root->path()).arg(::geteuid());
        const mode_t before = ::umask(0);
        m_blob = protectData("secret");
        ::umask(before);
        QVERIFY(m_blob);
        QCOMPARE(QFile::permissions(m_key) & QFile::Permissions(0x0077), QFile::Permissions());
    }
    void cleanup() { m_root.reset(); }

    void anotherVersionOrKey();
    void refusedKey_data();
    void refusedKey();

private:
    std::optional<korvex::test::TemporaryRoot> m_root;
    QString m_key;
    std::optional<QByteArray> m_blob;
};

void TestDataProtectionPosix::anotherVersionOrKey()
{
    QVERIFY(!unprotectData(QByteArray(*m_blob).replace(0, 1, "\2")));
    QVERIFY(QFile::remove(m_key));
    FaultRecorder faults;
    QVERIFY(!unprotectData(*m_blob));
    QCOMPARE(faults.take().size(), 1);
    QVERIFY2(!QFile::exists(m_key), "reading makes no key");
    QVERIFY(protectData("another"));
    QVERIFY2(!unprotectData(*m_blob), "another key does not open it");
}

void TestDataProtectionPosix::refusedKey_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("readable by the group") << "chmod 640 $KEY";
    QTest::newRow("writable by others") << "chmod 602 $KEY";
    QTest::newRow("long") << "truncate -s 33 $KEY";
    QTest::newRow("another user's") << "chown 65534 $KEY";
    QTest::newRow("link") << "mv $KEY $KEY.moved && ln -s $KEY.moved $KEY";
}

void TestDataProtectionPosix::refusedKey()
{
    QFETCH(QString, command);
    if (command.startsWith("chown") && ::geteuid() != 0)
        QSKIP("Only root can give a file to another user.");
    qputenv("KEY", m_key.toLocal8Bit());
    QCOMPARE(QProcess::execute("sh", {"-c", command}), 0);
    FaultRecorder faults;
    QVERIFY(!unprotectData(*m_blob));
    QVERIFY(!protectData("another"));
    QVERIFY(faults.take().join('\n').contains(m_key));
}

QTEST_GUILESS_MAIN(TestDataProtectionPosix)
#include "tst_data_protection_posix.moc"

#include "platform/data_protection.h"
#include "platform/fault_recorder.h"
#include "support/temporary_root.h"

#include <QDir>
#include <QtTest>
#include <sys/stat.h>
#include <unistd.h>

using korvex::platform::protectData;
using korvex::platform::unprotectData;
using korvex::test::FaultRecorder;

namespace {

const QByteArray kSecret = QByteArrayLiteral("JBSWY3DPEHPK3PXP");

mode_t modeOf(const QString& path)
{
    struct stat status{};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777u : 0;
}

} // namespace

class TestDataProtectionPosix : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_root.emplace();
        m_key = QStringLiteral("%1/keys/%2.key").arg(m_root->path()).arg(::geteuid());
    }
    void cleanup() { m_root.reset(); }

    void keyIsForTheOwnerAlone();
    void otherKey();
    void missingKey();
    void openKey_data();
    void openKey();
    void keyOfAnotherSize_data();
    void keyOfAnotherSize();
    void keyOfAnotherUser();
    void keyThatIsNoFile_data();
    void keyThatIsNoFile();
    void fileInPlaceOfTheFolder();

private:
    bool writeKey(const QByteArray& key)
    {
        QFile file(m_key);
        return file.open(QIODevice::WriteOnly) && file.write(key) == key.size();
    }
    /// Neither call works with the key as it is now, and each says so, naming it.
    void verifyRefused(const QByteArray& blob)
    {
        FaultRecorder faults;
        QVERIFY(!unprotectData(blob));
        QVERIFY(!protectData(kSecret));
        const QStringList heard = faults.take();
        QCOMPARE(heard.size(), 1);
        QVERIFY2(heard.first().contains(m_key), qPrintable(heard.first()));
    }

    std::optional<korvex::test::TemporaryRoot> m_root;
    QString m_key;
};

void TestDataProtectionPosix::keyIsForTheOwnerAlone()
{
    const QString folder = m_root->path() + QStringLiteral("/made");
    qputenv("KORVEX_ROOT", folder.toLocal8Bit());
    const mode_t before = ::umask(0);
    QVERIFY(protectData(kSecret));
    ::umask(before);
    QCOMPARE(modeOf(folder), mode_t{0700});
    const QString keys = folder + QStringLiteral("/keys");
    QCOMPARE(modeOf(keys), mode_t{0700});
    QCOMPARE(QDir(keys).entryList(QDir::Files),
             QStringList(QStringLiteral("%1.key").arg(::geteuid())));
    QCOMPARE(modeOf(keys + QStringLiteral("/%1.key").arg(::geteuid())), mode_t{0600});
}

void TestDataProtectionPosix::otherKey()
{
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    QFile key(m_key);
    QVERIFY(key.open(QIODevice::ReadOnly));
    QByteArray bytes = key.readAll();
    QVERIFY(writeKey(QByteArray(32, 'k')));
    QVERIFY(!unprotectData(*blob));
    QVERIFY(writeKey(bytes));
    QCOMPARE(unprotectData(*blob), std::optional(kSecret));
}

void TestDataProtectionPosix::missingKey()
{
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    QVERIFY(QFile::remove(m_key));
    FaultRecorder faults;
    QVERIFY(!unprotectData(*blob));
    QCOMPARE(faults.take().size(), 1);
    QVERIFY2(!QFile::exists(m_key), "reading makes no key");
}

void TestDataProtectionPosix::openKey_data()
{
    QTest::addColumn<int>("mode");
    for (const int mode : {0640, 0620, 0610, 0604, 0602, 0601, 0666})
        QTest::addRow("%o", static_cast<unsigned>(mode)) << mode;
}

void TestDataProtectionPosix::openKey()
{
    QFETCH(int, mode);
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    QCOMPARE(::chmod(QFile::encodeName(m_key).constData(), static_cast<mode_t>(mode)), 0);
    verifyRefused(*blob);
    QCOMPARE(::chmod(QFile::encodeName(m_key).constData(), 0400), 0);
    QCOMPARE(unprotectData(*blob), std::optional(kSecret));
}

void TestDataProtectionPosix::keyOfAnotherSize_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("empty") << 0;
    QTest::newRow("short") << 31;
    QTest::newRow("long") << 33;
}

void TestDataProtectionPosix::keyOfAnotherSize()
{
    QFETCH(int, size);
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    QVERIFY(writeKey(QByteArray(size, 'k')));
    verifyRefused(*blob);
    QCOMPARE(QFileInfo(m_key).size(), qint64{size});
}

void TestDataProtectionPosix::keyOfAnotherUser()
{
    if (::geteuid() != 0)
        QSKIP("Only root can give a file to another user.");
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    QCOMPARE(::chown(QFile::encodeName(m_key).constData(), 65534, 65534), 0);
    verifyRefused(*blob);
}

void TestDataProtectionPosix::keyThatIsNoFile_data()
{
    QTest::addColumn<bool>("isFolder");
    QTest::newRow("link") << false;
    QTest::newRow("folder") << true;
}

void TestDataProtectionPosix::keyThatIsNoFile()
{
    QFETCH(bool, isFolder);
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    const QString elsewhere = m_key + QStringLiteral(".elsewhere");
    QVERIFY(QFile::rename(m_key, elsewhere));
    QVERIFY(isFolder ? QDir().mkdir(m_key) : QFile::link(elsewhere, m_key));
    verifyRefused(*blob);
}

void TestDataProtectionPosix::fileInPlaceOfTheFolder()
{
    QFile file(m_root->path() + QStringLiteral("/keys"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    FaultRecorder faults;
    QVERIFY(!protectData(kSecret));
    QCOMPARE(faults.take().size(), 1);
}

QTEST_GUILESS_MAIN(TestDataProtectionPosix)

#include "tst_data_protection_posix.moc"

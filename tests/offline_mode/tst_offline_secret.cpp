#include "core/process_state.h"
#include "core/secret.h"
#include "core/user_registry_data.h"
#include "offline_mode/key_provider.h"
#include "offline_mode/offline_secret.h"
#include "offline_mode/otp_manager.h"
#include "offline_mode/totp_provider.h"

#include <QJsonObject>
#include <QtTest>

using namespace korvex;
using namespace korvex::otp;

namespace {

const QByteArray kSecret = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ";
const QByteArray kRfcKey = "12345678901234567890"; // the same, decoded

} // namespace

class TestOfflineSecret : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_state.startAnew();
        beginSignIn(QJsonDocument(QJsonObject{{"user", test::knownAccount()}}));
        m_data = userRegistryData();
        QVERIFY(m_data->key());
        m_state.takeLog();
    }

    void storedAndLoaded();
    void outOfBounds();
    void damaged();
    void unreadable_data();
    void unreadable();
    void noAccount();
    void asKey();

private:
    bool write(const QString& stored) { return m_data->key()->writeString("OTP_SECRET", stored); }
    QString stored() { return m_data->key()->readString("OTP_SECRET").value_or("none"); }

    test::ProcessState m_state;
    std::shared_ptr<const UserRegistryData> m_data;
};

void TestOfflineSecret::storedAndLoaded()
{
    QCOMPARE(loadOtpSecret(m_data.get()), QByteArray());
    const auto consumer = OTPManager(m_data).setOtpSecret();
    for (const QByteArray& secret :
         {kSecret, QByteArray("x"), QByteArray("\0\xff=\n\0", 5), QByteArray(9000, 'A')}) {
        QVERIFY(consumer(secret));
        QCOMPARE(loadOtpSecret(m_data.get()), secret);
        const QByteArray text = stored().toLatin1();
        const QByteArray blob = QByteArray::fromBase64(text);
        QCOMPARE(blob.toBase64(), text);
        QVERIFY(secret.size() == 1 || !blob.contains(secret));
    }
    // Whoever wipes what was loaded takes it from nobody else.
    QByteArray loaded = loadOtpSecret(m_data.get());
    wipe(loaded);
    QCOMPARE(loadOtpSecret(m_data.get()), QByteArray(9000, 'A'));
    QCOMPARE(m_state.takeLog(), QStringList());
}

void TestOfflineSecret::outOfBounds()
{
    QVERIFY(storeOtpSecret(m_data.get(), kSecret));
    // What 10000 bytes are protected as is longer than that.
    for (const int size : {0, 10000, 10001, 2000000}) {
        QVERIFY(!storeOtpSecret(m_data.get(), QByteArray(size, 'A')));
        QCOMPARE(loadOtpSecret(m_data.get()), kSecret);
    }
}

void TestOfflineSecret::damaged()
{
    QVERIFY(storeOtpSecret(m_data.get(), kSecret));
    const QString text = stored();
    QCOMPARE(unprotectSecret(text), std::optional(kSecret));
    const QByteArray blob = QByteArray::fromBase64(text.toLatin1());
    // The end only: the header of the system's blob has bytes that nothing depends on.
    for (int position = blob.size() * 2 / 3; position < blob.size(); position += 3) {
        QByteArray altered = blob;
        altered[position] = static_cast<char>(altered.at(position) ^ 0x01);
        QVERIFY2(!unprotectSecret(altered.toBase64()), QByteArray::number(position));
        QVERIFY2(!unprotectSecret(blob.left(position).toBase64()), QByteArray::number(position));
    }
    QVERIFY(!unprotectSecret((blob + QByteArray(10001 - blob.size(), '\0')).toBase64()));
    QCOMPARE(m_state.takeLog().filter("base64"), QStringList());
}

void TestOfflineSecret::unreadable_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QStringList>("log");
    QTest::newRow("empty") << "" << QStringList();
    QTest::newRow("no blob") << "c2VjcmV0" << QStringList();
    QTest::newRow("plain") << QString(kSecret) << QStringList();
    QTest::newRow("cut text") << "AQIDB" << QStringList("[Error] Invalid base64 length!");
    QTest::newRow("line break") << "AQI\nAQID"
                                << QStringList("[Error] Invalid character in base64!");
    QTest::newRow("not Latin-1") << QString::fromUtf8("ąęłś")
                                 << QStringList("[Error] Invalid character in base64!");
    // What the system made for the user of another machine.
    QTest::newRow("another user's")
        << "ASpCMEYdVaLiPHsxmbz8Nu2f7b6DUNud71/qsml/CEX+s9d+QGhVGPts/5qrvXiRfgz9zp/GmBu8MMmppQ=="
        << QStringList();
}

void TestOfflineSecret::unreadable()
{
    QFETCH(QString, stored);
    QVERIFY(storeOtpSecret(m_data.get(), "so that there is a key")); // to open others with
    QVERIFY(write(stored));
    m_state.takeLog();
    QCOMPARE(loadOtpSecret(m_data.get()), QByteArray());
    QTEST(m_state.takeLog(), "log");

    QVERIFY(m_data->key()->writeNumber("OTP_SECRET", 5));
    QCOMPARE(loadOtpSecret(m_data.get()), QByteArray());
}

void TestOfflineSecret::noAccount()
{
    QCOMPARE(loadOtpSecret(nullptr), QByteArray());
    QCOMPARE(m_state.takeLog(), QStringList());
    QVERIFY(!OTPManager(nullptr).setOtpSecret()(kSecret));
    QCOMPARE(m_state.takeLog(), QStringList("[Error] UserRegistryData is null!"));

    const UserRegistryData nobody("korvex-no-such-account");
    m_state.takeLog();
    QVERIFY(!storeOtpSecret(&nobody, kSecret));
    QCOMPARE(loadOtpSecret(&nobody), QByteArray());
    QCOMPARE(m_state.takeLog(), QStringList());
}

void TestOfflineSecret::asKey()
{
    const auto provider = std::make_shared<KeyProvider>(m_data);
    TOTPProvider totp(provider);
    const auto accepts = [&](const QByteArray& secret) {
        return storeOtpSecret(m_data.get(), secret) && totp.verifyAt("287082", 59);
    };
    QVERIFY(!totp.verifyAt("287082", 59)); // nothing stored
    QVERIFY(accepts(kSecret));
    QCOMPARE(provider->key(), kRfcKey);
    m_state.takeLog();
    for (const QByteArray& secret : {kSecret.toLower(), kSecret + ' ', QByteArray("=")}) {
        QVERIFY(!accepts(secret));
        QCOMPARE(m_state.takeLog().filter("Error").value(0),
                 QString("[Error] Can't load base key!"));
    }
    QVERIFY(!accepts("MZXW6YTB"));
    QVERIFY(accepts(kSecret)); // nothing of the other was kept
}

QTEST_GUILESS_MAIN(TestOfflineSecret)

#include "tst_offline_secret.moc"

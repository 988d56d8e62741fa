#include "core/process_state.h"
#include "otp/key_provider.h"
#include "otp/offline_secret.h"
#include "otp/otp_manager.h"

#include <QtTest>

using namespace korvex;
using namespace korvex::otp;

namespace {

const QByteArray kSecret = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ"; // of RFC 6238, in base32

} // namespace

class TestOfflineSecret : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_state.startAnew();
        beginSignIn({.user = test::knownAccount()});
        m_data = userRegistryData();
        QVERIFY(m_data->key());
        m_state.takeLog();
    }

    void storedAndLoaded();
    void unreadable();
    void noAccount();

private:
    QString stored() { return m_data->key()->readString("OTP_SECRET").value_or("none"); }

    test::ProcessState m_state;
    std::shared_ptr<const UserRegistryData> m_data;
};

void TestOfflineSecret::storedAndLoaded()
{
    QCOMPARE(loadOtpSecret(m_data.get()), QByteArray());
    const auto consumer = OTPManager(m_data).setOtpSecret();
    for (const QByteArray& secret :
         {QByteArray("\0\xff=\n\0", 5), QByteArray(9000, 'A'), kSecret}) {
        QVERIFY(consumer(secret));
        QCOMPARE(loadOtpSecret(m_data.get()), secret);
        const QByteArray blob = QByteArray::fromBase64(stored().toLatin1());
        QCOMPARE(blob.toBase64(), stored().toLatin1());
        QVERIFY(!blob.contains(secret));
    }
    // What 10000 bytes are protected as is longer than that.
    for (const int size : {0, 10000, 10001})
        QVERIFY(!consumer(QByteArray(size, 'A')));
    QCOMPARE(KeyProvider(m_data).key(), QByteArray("12345678901234567890"));
    QCOMPARE(m_state.takeLog(), QStringList());
}

void TestOfflineSecret::unreadable()
{
    // The last is what the system made for the user of another machine.
    for (const char* const text :
         {"", "c2VjcmV0", "AQIDB",
          "ASpCMEYdVaLiPHsxmbz8Nu2f7b6DUNud71/qsml/CEX+s9d+QGhVGPts/5qrvXiRfgz9zp/GmBu8MMmppQ=="}) {
        QVERIFY(m_data->key()->writeString("OTP_SECRET", text));
        QCOMPARE(loadOtpSecret(m_data.get()), QByteArray());
        QCOMPARE(KeyProvider(m_data).key(), QByteArray());
    }
}

void TestOfflineSecret::noAccount()
{
    QCOMPARE(loadOtpSecret(nullptr), QByteArray());
    QVERIFY(!OTPManager(nullptr).setOtpSecret()(kSecret));
    QCOMPARE(m_state.takeLog(), QStringList("[Error] UserRegistryData is null!"));
    const UserRegistryData nobody({.user = "korvex-no-such-account"});
    QVERIFY(!storeOtpSecret(&nobody, kSecret));
    QCOMPARE(loadOtpSecret(&nobody), QByteArray());
}

QTEST_GUILESS_MAIN(TestOfflineSecret)

#include "tst_offline_secret.moc"

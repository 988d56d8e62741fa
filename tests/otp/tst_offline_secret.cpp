#include "core/process_state.h"
#include "otp/key_provider.h"
#include "otp/offline_secret.h"
#include "otp/otp_manager.h"
#include "otp/totp_provider.h"

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
    void asKey();

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
         {QByteArray("x"), QByteArray("\0\xff=\n\0", 5), QByteArray(9000, 'A'), kSecret}) {
        QVERIFY(consumer(secret));
        QCOMPARE(loadOtpSecret(m_data.get()), secret);
        const QByteArray blob = QByteArray::fromBase64(stored().toLatin1());
        QCOMPARE(blob.toBase64(), stored().toLatin1());
        QVERIFY(secret.size() == 1 || !blob.contains(secret));
    }
    // What 10000 bytes are protected as is longer than that.
    for (const int size : {0, 10000, 10001, 2000000}) {
        QVERIFY(!consumer(QByteArray(size, 'A')));
        QCOMPARE(loadOtpSecret(m_data.get()), kSecret);
    }
    QCOMPARE(m_state.takeLog(), QStringList());
}

void TestOfflineSecret::unreadable()
{
    QVERIFY(storeOtpSecret(m_data.get(), kSecret));
    const QByteArray blob = QByteArray::fromBase64(stored().toLatin1());
    const QByteArray altered = blob.chopped(1) + static_cast<char>(blob.back() ^ 1);
    // One is what the system made for the user of another machine.
    for (const QByteArray& text : QByteArrayList{
             "", "c2VjcmV0", "AQI\nAQID", "ąęłś",
             "ASpCMEYdVaLiPHsxmbz8Nu2f7b6DUNud71/qsml/CEX+s9d+QGhVGPts/5qrvXiRfgz9zp/GmBu8MMmppQ==",
             altered.toBase64(), blob.chopped(1).toBase64(), "AQIDB"}) {
        QVERIFY(m_data->key()->writeString("OTP_SECRET", QString::fromUtf8(text)));
        QCOMPARE(loadOtpSecret(m_data.get()), QByteArray());
    }
    QCOMPARE(m_state.takeLog().last(), QString("[Error] Invalid base64 length!"));
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

void TestOfflineSecret::asKey()
{
    TOTPProvider totp(std::make_shared<KeyProvider>(m_data));
    const auto accepts = [&](const QByteArray& secret) {
        return storeOtpSecret(m_data.get(), secret) && totp.verifyAt("287082", 59);
    };
    QVERIFY(accepts(kSecret));
    QVERIFY(!accepts("MZXW6YTB"));
    m_state.takeLog();
    for (const QByteArray& secret : {kSecret.toLower(), kSecret + ' ', QByteArray("=")}) {
        QVERIFY(!accepts(secret));
        QCOMPARE(m_state.takeLog().last(), QString("Can't load base key!"));
    }
}

QTEST_GUILESS_MAIN(TestOfflineSecret)

#include "tst_offline_secret.moc"

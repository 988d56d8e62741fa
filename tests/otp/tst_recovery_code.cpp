#include "core/openssl_program.h"
#include "core/process_state.h"
#include "otp/recovery_code_controller.h"

#include <QtTest>
#include <tuple>

using namespace korvex;
using test::openssl;

namespace {

const auto stored = [] { return readString(Setting::RecoveryCode); };

/// What a help desk reads from a stored value with the private key.
QByteArray blockOf(const QString& value)
{
    return openssl({"pkeyutl", "-decrypt", "-inkey", KORVEX_RECOVERY_PRIVATE_KEY, "-pkeyopt",
                    "rsa_padding_mode:none"},
                   QByteArray::fromBase64(value.toLatin1()));
}

/// The public key with one more byte in front of its modulus, a 1: the block is then too large.
QByteArray smallLeadingByte()
{
    QByteArray key = openssl({"rsa", "-pubin", "-outform", "DER"}, recoveryPublicKey());
    const int modulus = key.indexOf(QByteArray::fromHex("024100")); // an INTEGER of 65 bytes
    key[modulus + 2] = 1;
    return "-----BEGIN PUBLIC KEY-----\n" + openssl({"base64"}, key) + "-----END PUBLIC KEY-----\n";
}

} // namespace

class TestRecoveryCode : public QObject
{
    Q_OBJECT

private slots:
    void againstOpenssl();
    void failures();

private:
    test::ProcessState m_state;
};

void TestRecoveryCode::againstOpenssl()
{
    const RecoveryCodeController controller;
    for (int draw = 0; draw < 40; ++draw) {
        const QByteArray salt = "\"\\\n" + QByteArray(draw + 1, 's'); // nothing is escaped
        mainKey().writeString("SecretKey", salt);
        QVERIFY(controller.regenCode());
        const QString code = blockOf(stored()).mid(9, 6);
        QVERIFY2(QRegularExpression("^[1-9][0-9]{5}$").match(code).hasMatch(), qPrintable(code));
        const QByteArray json = "{\"code\":\"" + code.toUtf8() + "\",\"_\":\"" + salt + "\"}";
        QCOMPARE(blockOf(stored()), (json + QByteArray(64, '\0')).left(64));

        QVERIFY(controller.verifyCode(code));
        // With a long salt, the last makes the same block as the code.
        for (const QString& text : {QString(), code.left(5), code + ' ', QString(json).mid(9, 55)})
            QVERIFY2(!controller.verifyCode(text), qPrintable(text));
    }
}

void TestRecoveryCode::failures()
{
    mainKey().writeString("SecretKey", "the salt");
    QVERIFY(RecoveryCodeController().regenCode());
    const QString before = stored();
    for (const auto& [salt, pem, code, message] :
         {std::tuple("", QByteArray(), 4, "No salt found"),
          {"salt", "", 2, "No public key found"},
          {"salt", recoveryPublicKey().left(100), 3, "Given public key is invalid"},
          {"salt", smallLeadingByte(), 1, "Failed to encrypt recovery code. error:"}}) {
        mainKey().writeString("SecretKey", salt);
        QCOMPARE(static_cast<int>(encryptRecoveryCode("123456", pem).error().code), code);
        const RecoveryCodeController controller(pem);
        QVERIFY(!controller.verifyCode("123456") && !controller.regenCode());
        QCOMPARE(m_state.takeLog().filter(QString("Code() ") + message).size(), 2);
        QCOMPARE(stored(), before);
    }
}

QTEST_GUILESS_MAIN(TestRecoveryCode)

#include "tst_recovery_code.moc"

#include "core/openssl_program.h"
#include "core/process_state.h"
#include "otp/recovery_code_controller.h"

#include <QtTest>
#include <tuple>
#include <vector>

using namespace korvex;
using test::openssl;

namespace {

QString stored()
{
    return readString(Setting::RecoveryCode);
}

/// What a help desk reads from a stored value with the private key.
QByteArray blockOf(const QString& value)
{
    return openssl({"pkeyutl", "-decrypt", "-inkey", KORVEX_RECOVERY_PRIVATE_KEY, "-pkeyopt",
                    "rsa_padding_mode:none"},
                   QByteArray::fromBase64(value.toLatin1()));
}

QString codeOf(const QString& value)
{
    return blockOf(value).mid(9, 6);
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
    void init()
    {
        m_state.startAnew();
        mainKey().writeString("SecretKey", "the salt");
    }

    void againstOpenssl();
    void failures();

private:
    test::ProcessState m_state;
};

void TestRecoveryCode::againstOpenssl()
{
    const RecoveryCodeController controller;
    QVERIFY(!controller.verifyCode("123456")); // none stored
    QStringList codes;
    for (int length : {4, 39, 40, 41, 42, 43, 50}) {
        const QByteArray salt = "\"\\\n" + QByteArray(length - 3, 's'); // nothing is escaped
        mainKey().writeString("SecretKey", salt);
        QVERIFY(controller.regenCode());
        codes << codeOf(stored());
        QVERIFY(controller.regenCode());
        const QString code = codeOf(stored());
        QCOMPARE(controller.verifyCode(codes.last()), codes.last() == code); // replaced
        QVERIFY2(QRegularExpression("^[1-9][0-9]{5}$").match(code).hasMatch(), qPrintable(code));
        const QByteArray json = "{\"code\":\"" + code.toUtf8() + "\",\"_\":\"" + salt + "\"}";
        QCOMPARE(blockOf(stored()), (json + QByteArray(64, '\0')).left(64));

        QVERIFY(controller.verifyCode(code));
        for (const QString& text : {QString(), code.left(5), code + ' ', code + QChar(0)})
            QVERIFY2(!controller.verifyCode(text), qPrintable(text));
        // A text that is long enough to hold what follows the code is none.
        const QString longText = QString(json).mid(9, 55);
        QCOMPARE(encryptRecoveryCode(longText) == stored(), length >= 40);
        QVERIFY(!controller.verifyCode(longText));
        mainKey().writeString("SecretKey", "other salt");
        QVERIFY(!controller.verifyCode(code));
    }
    QVERIFY(codes.removeDuplicates() < 2);
    QVERIFY(m_state.takeLog().isEmpty());
}

void TestRecoveryCode::failures()
{
    const std::vector<std::tuple<QString, QByteArray, int, QString>> rows{
        {"", "", 4, "No salt found"},
        {"salt", "", 2, "No public key found"},
        {"salt", recoveryPublicKey().left(100), 3, "Given public key is invalid"},
        {"salt", smallLeadingByte(), 1, "Failed to encrypt recovery code. error:"},
    };
    QVERIFY(RecoveryCodeController().regenCode());
    const QString before = stored();
    for (const auto& [salt, pem, code, message] : rows) {
        mainKey().writeString("SecretKey", salt);
        const auto encrypted = encryptRecoveryCode("123456", pem);
        QVERIFY(!encrypted);
        QCOMPARE(static_cast<int>(encrypted.error().code), code);
        const QString whole = encrypted.error().message;
        QVERIFY2(code == 1 ? whole.startsWith(message) : whole == message, qPrintable(whole));

        const RecoveryCodeController controller(pem);
        QVERIFY(!controller.verifyCode("123456") && !controller.regenCode());
        const QString prefix = "[Error] RecoveryCodeController::";
        QCOMPARE(m_state.takeLog(),
                 QStringList({prefix + "verifyCode() " + whole, prefix + "regenCode() " + whole}));
        QCOMPARE(stored(), before);
    }
}

QTEST_GUILESS_MAIN(TestRecoveryCode)

#include "tst_recovery_code.moc"

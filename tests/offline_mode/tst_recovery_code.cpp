#include "core/openssl_program.h"
#include "core/process_state.h"
#include "offline_mode/recovery_code_controller.h"

#include <QJsonObject>
#include <QtTest>

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
    if (modulus < 0)
        return key;
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

    void againstOpenssl_data();
    void againstOpenssl();
    void codesDiffer();
    void typedText();
    void failures_data();
    void failures();

private:
    test::ProcessState m_state;
};

void TestRecoveryCode::againstOpenssl_data()
{
    QTest::addColumn<QString>("salt");
    QTest::addColumn<QByteArray>("end"); // of the block, from the code's end
    const QString digits = "0123456789012345678901234567890123456789";
    const QByteArray zeros(64, '\0');
    QTest::newRow("short") << "salt" << "\",\"_\":\"salt\"}" + zeros.left(36);
    QTest::newRow("39") << digits.left(39)
                        << "\",\"_\":\"" + digits.left(39).toUtf8() + "\"}" + zeros.left(1);
    QTest::newRow("40") << digits << "\",\"_\":\"" + digits.toUtf8() + "\"}";
    QTest::newRow("41") << digits + "x" << "\",\"_\":\"" + digits.toUtf8() + "x\"";
    QTest::newRow("50") << digits + "abcdefghij" << "\",\"_\":\"" + digits.toUtf8() + "ab";
    QTest::newRow("not escaped") << "\"\\{}\n" << "\",\"_\":\"\"\\{}\n\"}" + zeros.left(35);
}

void TestRecoveryCode::againstOpenssl()
{
    QFETCH(QString, salt);
    QFETCH(QByteArray, end);
    mainKey().writeString("SecretKey", salt);
    const RecoveryCodeController controller;
    QVERIFY(controller.regenCode());
    const QString code = codeOf(stored());
    QVERIFY2(QRegularExpression("^[1-9][0-9]{5}$").match(code).hasMatch(), qPrintable(code));
    QCOMPARE(blockOf(stored()), "{\"code\":\"" + code.toLatin1() + end);

    QVERIFY(controller.verifyCode(code));
    QVERIFY(controller.verifyCode(code)); // checking does not use it up
    QString other = code;
    other[5] = other.at(5) == '0' ? '1' : '0';
    for (const QString& text : {other, QString(), code.left(5), code + ' ', ' ' + code,
                                code + QChar(0), code + "\",\"_\":\""})
        QVERIFY2(!controller.verifyCode(text), qPrintable(text));
    mainKey().writeString("SecretKey", "other " + salt);
    QVERIFY(!controller.verifyCode(code));
    QVERIFY(m_state.takeLog().isEmpty());
}

void TestRecoveryCode::codesDiffer()
{
    const RecoveryCodeController controller;
    QVERIFY(!controller.verifyCode("123456")); // none stored
    QStringList codes;
    for (int i = 0; i < 8; ++i) {
        QVERIFY(controller.regenCode());
        codes << codeOf(stored());
        // The one before has gone.
        QCOMPARE(controller.verifyCode(codes.first()), codes.first() == codes.last());
    }
    QVERIFY(codes.removeDuplicates() < 2);
}

/// A text that is long enough to hold what follows the code is no code, also where it makes the
/// same block.
void TestRecoveryCode::typedText()
{
    const QString salt = "012345678901234567890123456789012345678901234567";
    mainKey().writeString("SecretKey", salt);
    const RecoveryCodeController controller;
    QVERIFY(controller.regenCode());
    const QString longText = codeOf(stored()) + "\",\"_\":\"" + salt.left(42);
    QCOMPARE(encryptRecoveryCode(longText).value_or("failed"), stored());
    QVERIFY(!controller.verifyCode(longText));
    QVERIFY(!controller.verifyCode(QString(10000000, '7')));
}

void TestRecoveryCode::failures_data()
{
    QTest::addColumn<QString>("salt");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message"); // from its beginning
    QFile privateKey(KORVEX_RECOVERY_PRIVATE_KEY);
    QVERIFY(privateKey.open(QIODevice::ReadOnly));
    const QString invalid = "Given public key is invalid";
    QTest::newRow("no salt, no key") << "" << QByteArray() << 4 << "No salt found";
    QTest::newRow("no key") << "salt" << QByteArray() << 2 << "No public key found";
    QTest::newRow("garbage") << "salt" << QByteArray("garbage") << 3 << invalid;
    QTest::newRow("cut") << "salt" << recoveryPublicKey().left(100) << 3 << invalid;
    QTest::newRow("private") << "salt" << privateKey.readAll() << 3 << invalid;
    QTest::newRow("modulus below the block")
        << "salt" << smallLeadingByte() << 1 << "Failed to encrypt recovery code. error:";
}

void TestRecoveryCode::failures()
{
    QFETCH(QString, salt);
    QFETCH(QByteArray, key);
    QFETCH(QString, message);
    QVERIFY(RecoveryCodeController().regenCode());
    const QString before = stored();
    const QString code = codeOf(before);
    mainKey().writeString("SecretKey", salt);

    const auto encrypted = encryptRecoveryCode(code, key);
    QVERIFY(!encrypted);
    QTEST(static_cast<int>(encrypted.error().code), "code");
    QVERIFY2(encrypted.error().message.startsWith(message), qPrintable(encrypted.error().message));
    QCOMPARE(message.endsWith(':'), encrypted.error().message != message);

    const RecoveryCodeController controller(key);
    QVERIFY(!controller.verifyCode(code));
    QVERIFY(!controller.regenCode());
    const QString prefix = "[Error] RecoveryCodeController::";
    QCOMPARE(m_state.takeLog(), QStringList({prefix + "verifyCode() " + encrypted.error().message,
                                             prefix + "regenCode() " + encrypted.error().message}));
    QCOMPARE(stored(), before);
}

QTEST_GUILESS_MAIN(TestRecoveryCode)

#include "tst_recovery_code.moc"

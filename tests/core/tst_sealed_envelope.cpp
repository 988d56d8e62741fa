#include "core/base64.h"
#include "core/openssl_program.h"
#include "core/process_state.h"
#include "core/sealed_envelope.h"

#include <QJsonObject>
#include <QtTest>

using namespace korvex;

namespace {

// The MD5 of "abc", RFC 1321, appendix A.5
const QByteArray kKey = "900150983cd24fb0d6963f7d28e17f72";
const QByteArray kIv = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");

// The format as the openssl program makes it.

/// Base64 from or to plain bytes; `option` says which way.
QByteArray cipher(const QString& option, const QByteArray& iv, const QByteArray& input)
{
    return test::openssl(
        {"enc", "-aes-256-cbc", "-base64", "-A", "-K", kKey.toHex(), "-iv", iv.toHex(), option},
        input);
}

QString macOf(const QString& iv, const QString& value)
{
    return test::opensslDigest({"-sha256", "-hmac", kKey}, (iv + value).toUtf8());
}

/// With the MAC that it needs, unless another is given.
QByteArray textOf(const QString& iv, const QString& value, const QString& mac = {})
{
    const QJsonObject members{
        {"iv", iv}, {"value", value}, {"mac", mac.isNull() ? macOf(iv, value) : mac}};
    return encodeBase64(QJsonDocument(members).toJson());
}

/// The bytes sealed in a text, or the error's number and message.
QByteArray outcomeOf(const QByteArray& text)
{
    const auto envelope = parseEnvelope(text);
    const auto verified = envelope ? verifyEnvelope(*envelope) : envelope;
    const auto opened = verified ? openEnvelope(*verified) : std::unexpected(verified.error());
    if (opened)
        return *opened;
    return QByteArray::number(static_cast<int>(opened.error().code)) + ' ' +
           opened.error().message.toUtf8();
}

} // namespace

class TestSealedEnvelope : public QObject
{
    Q_OBJECT

private slots:
    void init() { mainKey().writeString("SecretKey", "abc"); }

    void base64Vectors();
    void base64Refused();
    void againstOpenssl();
    void opening();

private:
    test::ProcessState m_state;
};

void TestSealedEnvelope::base64Vectors()
{
    const QByteArray digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    // RFC 4648, section 10, and each digit once
    const QList<std::pair<QByteArray, QByteArray>> vectors{
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {test::openssl({"base64", "-d", "-A"}, digits), digits}};
    for (const auto& [bytes, text] : vectors) {
        QCOMPARE(encodeBase64(bytes), text);
        QCOMPARE(decodeBase64(text), bytes);
    }
}

void TestSealedEnvelope::base64Refused()
{
    const QMap<QString, QByteArrayList> texts{
        {"Invalid base64 length!", {"Zg", "Zg=", "Zm9v\n"}},
        {"Invalid character in base64!", {"Zm9*", "Z-_v", "\xff\xff\xff\xff", "A$=="}},
        {"Invalid padding in base64!", {"====", "A===", "AA=A", "Zg==Zg=="}}};
    for (auto reason = texts.begin(); reason != texts.end(); ++reason) {
        for (const QByteArray& text : *reason) {
            QCOMPARE(decodeBase64(text), QByteArray());
            QCOMPARE(m_state.takeLog(), QStringList("[Error] " + reason.key()));
        }
    }
}

void TestSealedEnvelope::againstOpenssl()
{
    QCOMPARE(deriveKey().value_or("none"), kKey);
    for (const int size : {0, 15, 16}) {
        const QByteArray plain = QByteArray(size, 'x');
        const QByteArray sealed = seal(plain, kKey);
        const QByteArray json = decodeBase64(sealed);
        const QJsonDocument ours = QJsonDocument::fromJson(json);
        const QString iv = ours["iv"].toString();
        const QString value = ours["value"].toString();
        QCOMPARE(QString(json), QStringLiteral(R"({"iv":"%1","mac":"%2","tag":"","value":"%3"})")
                                    .arg(iv, macOf(iv, value), value));
        QCOMPARE(cipher("-d", QByteArray::fromBase64(iv.toLatin1()), value.toLatin1()), plain);
        QVERIFY(seal(plain, kKey) != sealed);
        QCOMPARE(outcomeOf(textOf(encodeBase64(kIv), cipher("-e", kIv, plain))), plain);
    }
}

void TestSealedEnvelope::opening()
{
    const QString iv = encodeBase64(kIv);
    const QString value = cipher("-e", kIv, "secret");
    const QString mac = macOf(iv, value);
    const auto unpadded = [&iv](const QByteArray& blocks) {
        return textOf(iv, cipher("-nopad", kIv, blocks));
    };
    const QByteArray altered = "2 Data signature invalid";
    const QByteArray misfit = "5 Invalid json data format";
    for (const auto& [text, outcome] :
         {std::pair(textOf(iv, value).chopped(1), QByteArray("0 Invalid base64 data format")),
          {encodeBase64("secret"), "1 "},
          {encodeBase64("{}"), altered},
          {textOf(iv, value, mac.toUpper()), altered},
          {textOf(iv, value, mac.chopped(1)), altered},
          {textOf(encodeBase64(kIv.left(12)), value), misfit},
          {textOf(encodeBase64(kIv + kIv), value), misfit},
          {textOf(iv, encodeBase64(QByteArray(31, 'x'))), misfit},
          {textOf(iv, ""), ""},
          // Of the padding only the last byte counts.
          {unpadded("0123456789abcde\3"), "0123456789abc"},
          {unpadded("0123456789abcde\xff"), ""}}) {
        QCOMPARE(outcomeOf(text), outcome);
        const bool opens = !outcome.contains(' '); // it is no error
        QByteArray taken;
        const bool accepted = openSealedText(text, [&](const QByteArray& plain) {
            taken = QByteArray(plain.constData(), plain.size());
            return !plain.isEmpty();
        });
        QCOMPARE(accepted, opens && !outcome.isEmpty());
        QCOMPARE(taken, opens ? outcome : QByteArray());
    }
    mainKey().writeString("SecretKey", "");
    QCOMPARE(outcomeOf(textOf(iv, value)), QByteArray("4 "));
}

QTEST_GUILESS_MAIN(TestSealedEnvelope)

#include "tst_sealed_envelope.moc"

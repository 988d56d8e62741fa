#include "core/base64.h"
#include "core/openssl_program.h"
#include "core/process_state.h"
#include "core/sealed_envelope.h"

#include <QJsonObject>
#include <QtTest>
#include <numeric>

using namespace korvex;
using test::openssl;

namespace {

// RFC 1321, appendix A.5
const QByteArray kSecret = "abc";
const QByteArray kKey = "900150983cd24fb0d6963f7d28e17f72";
const QByteArray kIv = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");

// The format as the openssl program makes it.

QByteArray base64(const QByteArray& bytes)
{
    return openssl({"base64", "-A"}, bytes);
}

/// Base64 from or to plain bytes; `option` says which way.
QByteArray cipher(const QString& option, const QByteArray& iv, const QByteArray& input)
{
    return openssl(
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
    return base64(QJsonDocument(members).toJson());
}

Result<QByteArray> open(const QByteArray& text)
{
    const auto envelope = parseEnvelope(text);
    if (!envelope)
        return std::unexpected(envelope.error());
    const auto verified = verifyEnvelope(*envelope);
    return verified ? openEnvelope(*verified) : std::unexpected(verified.error());
}

const QByteArray kBytes = [] {
    QByteArray bytes(256, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    return bytes;
}();

} // namespace

class TestSealedEnvelope : public QObject
{
    Q_OBJECT

private slots:
    void init() { mainKey().writeString("SecretKey", kSecret); }

    void base64Vectors();
    void base64Refused();
    void againstOpenssl();
    void opening_data();
    void opening();
    void noSecretKey();

private:
    test::ProcessState m_state;
};

void TestSealedEnvelope::base64Vectors()
{
    // RFC 4648, section 10, and each byte once
    const QList<std::pair<QByteArray, QByteArray>> vectors{{"", ""},
                                                           {"foob", "Zm9vYg=="},
                                                           {"fooba", "Zm9vYmE="},
                                                           {"foobar", "Zm9vYmFy"},
                                                           {kBytes, base64(kBytes)}};
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
            m_state.takeLog();
            QCOMPARE(decodeBase64(text), QByteArray());
            QCOMPARE(m_state.takeLog(), QStringList("[Error] " + reason.key()));
        }
    }
}

void TestSealedEnvelope::againstOpenssl()
{
    QCOMPARE(deriveKey().value_or("none"), kKey);
    for (const int size : {0, 15, 16, 256}) {
        const QByteArray plain = kBytes.left(size);
        const QByteArray sealed = seal(plain, kKey);
        const QByteArray json = openssl({"base64", "-d", "-A"}, sealed);
        const QJsonDocument ours = QJsonDocument::fromJson(json);
        const QString iv = ours["iv"].toString();
        const QString value = ours["value"].toString();
        QCOMPARE(QString(json), QStringLiteral(R"({"iv":"%1","mac":"%2","tag":"","value":"%3"})")
                                    .arg(iv, macOf(iv, value), value));
        QCOMPARE(cipher("-d", QByteArray::fromBase64(iv.toLatin1()), value.toLatin1()), plain);
        QVERIFY(seal(plain, kKey) != sealed);
        QCOMPARE(open(textOf(base64(kIv), cipher("-e", kIv, plain))).value_or("refused"), plain);
    }
}

void TestSealedEnvelope::opening_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("outcome");
    const auto row = [](const char* name, const QByteArray& text, int code,
                        const QByteArray& plain = {}) {
        const QMap<int, QByteArray> outcomes{{-1, plain},
                                             {0, "Invalid base64 data format"},
                                             {1, ""},
                                             {2, "Data signature invalid"},
                                             {5, "Invalid json data format"}};
        QTest::newRow(name) << text << code << outcomes[code];
    };
    const QString iv = base64(kIv);
    const QString value = cipher("-e", kIv, "secret");
    const QString mac = macOf(iv, value);
    row("empty", "", 0);
    row("not base64", textOf(iv, value).chopped(1), 0);
    row("not JSON", base64("secret"), 1);
    row("no members", base64("{}"), 2);
    row("upper-case mac", textOf(iv, value, mac.toUpper()), 2);
    row("mac cut short", textOf(iv, value, mac.chopped(1)), 2);
    row("mac with more", textOf(iv, value, mac + ' '), 2);
    row("sealed under another key", seal("secret", QByteArray(32, 'a')), 2);
    row("iv too short", textOf(base64(kIv.left(12)), value), 5);
    row("iv too long", textOf(base64(kIv + kIv), value), 5);
    row("value not whole blocks", textOf(iv, base64(kBytes.left(31))), 5);

    const auto unpadded = [&iv](const QByteArray& blocks) {
        return textOf(iv, cipher("-nopad", kIv, blocks));
    };
    row("nothing sealed", textOf(iv, ""), -1);
    // Of the padding only the last byte counts.
    row("padding of other bytes", unpadded("0123456789abcde\3"), -1, "0123456789abc");
    row("padding longer than all", unpadded("0123456789abcde\xff"), -1);
}

void TestSealedEnvelope::opening()
{
    QFETCH(QByteArray, text);
    QFETCH(int, code);
    QFETCH(QByteArray, outcome);
    const auto opened = open(text);
    QCOMPARE(opened ? -1 : static_cast<int>(opened.error().code), code);
    QCOMPARE(opened ? *opened : opened.error().message.toUtf8(), outcome);
    for (const bool accepts : {true, false}) {
        QByteArrayList taken;
        const bool accepted = openSealedText(text, [&](const QByteArray& plain) {
            taken << QByteArray(plain.constData(), plain.size());
            return accepts;
        });
        QCOMPARE(accepted, opened && accepts);
        QCOMPARE(taken, opened ? QByteArrayList{outcome} : QByteArrayList());
    }
}

void TestSealedEnvelope::noSecretKey()
{
    const auto envelope = parseEnvelope(seal("secret", kKey));
    mainKey().writeString("SecretKey", "");
    for (const auto& error : {deriveKey().error(), verifyEnvelope(*envelope).error(),
                              openEnvelope(*envelope).error()}) {
        QCOMPARE(static_cast<int>(error.code), 4);
        QCOMPARE(error.message, QString());
    }
}

QTEST_GUILESS_MAIN(TestSealedEnvelope)

#include "tst_sealed_envelope.moc"

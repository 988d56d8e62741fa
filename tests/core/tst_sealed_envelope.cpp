#include "core/base64.h"
#include "core/openssl_program.h"
#include "core/process_state.h"
#include "core/sealed_envelope.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

using namespace korvex;
using test::openssl;
using test::opensslDigest;

namespace {

const QByteArray kSecret = "integration secret 7";
const QByteArray kIv = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");

// The format as the openssl program makes it.

QByteArray keyOf(const QByteArray& secret)
{
    return opensslDigest({"-md5"}, secret);
}

QByteArray base64(const QByteArray& bytes)
{
    return openssl({"base64", "-A"}, bytes);
}

/// Base64 from or to plain bytes; `options` say which way.
QByteArray cipher(const QStringList& options, const QByteArray& iv, const QByteArray& input)
{
    return openssl(QStringList{"enc", "-aes-256-cbc", "-base64", "-A", "-K", keyOf(kSecret).toHex(),
                               "-iv", iv.toHex()} +
                       options,
                   input);
}

QString macOf(const QString& iv, const QString& value, const QByteArray& secret = kSecret)
{
    return opensslDigest({"-sha256", "-hmac", keyOf(secret)}, (iv + value).toUtf8());
}

QByteArray textOf(const QJsonObject& envelope)
{
    return base64(QJsonDocument(envelope).toJson());
}

/// Members with the MAC that they need.
QJsonObject members(const QString& iv, const QString& value)
{
    return {{"iv", iv}, {"value", value}, {"mac", macOf(iv, value)}};
}

Result<QByteArray> open(const QByteArray& text)
{
    const auto envelope = parseEnvelope(text);
    if (!envelope)
        return std::unexpected(envelope.error());
    const auto verified = verifyEnvelope(*envelope);
    return verified ? openEnvelope(*verified) : std::unexpected(verified.error());
}

QByteArray someBytes(int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(static_cast<char>(i * 37 + 251));
    return bytes;
}

} // namespace

class TestSealedEnvelope : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_state.startAnew();
        mainKey().writeString("SecretKey", kSecret);
    }

    void base64Vectors();
    void base64Refused();
    void derivedKey();
    void againstOpenssl_data();
    void againstOpenssl();
    void sealsDiffer();
    void opening_data();
    void opening();
    void truncated();
    void noSecretKey();
    void consumer();

private:
    test::ProcessState m_state;
};

void TestSealedEnvelope::base64Vectors()
{
    // RFC 4648, section 10, and each byte once
    QList<std::pair<QByteArray, QByteArray>> vectors{{"", ""},
                                                     {"f", "Zg=="},
                                                     {"fo", "Zm8="},
                                                     {"foo", "Zm9v"},
                                                     {"foob", "Zm9vYg=="},
                                                     {"fooba", "Zm9vYmE="},
                                                     {"foobar", "Zm9vYmFy"}};
    vectors.append({someBytes(256), base64(someBytes(256))});
    for (const auto& [bytes, text] : vectors) {
        QCOMPARE(encodeBase64(bytes), text);
        QCOMPARE(decodeBase64(text), bytes);
    }
    QCOMPARE(m_state.takeLog(), QStringList());
}

void TestSealedEnvelope::base64Refused()
{
    const QMap<QString, QByteArrayList> texts{
        {"Invalid base64 length!", {"Z", "Zg", "Zm8", "Zm9vY", "Zg=", "Zg===", "Zm9v\n"}},
        {"Invalid character in base64!",
         {"Zm9*", "Zm 9", "Z-_v", "\xff\xff\xff\xff", "Zm9v\nYg=", "A$==", QByteArray(4, '\0')}},
        {"Invalid padding in base64!",
         {"====", "A===", "=AAA", "A=AA", "AA=A", "Zg==Zg==", "Zm8=Zm8=", "Zm9v====", "Zm9vZ==="}}};
    for (auto reason = texts.begin(); reason != texts.end(); ++reason) {
        for (const QByteArray& text : *reason) {
            QCOMPARE(decodeBase64(text), QByteArray());
            QCOMPARE(m_state.takeLog(), QStringList("[Error] " + reason.key()));
        }
    }
}

void TestSealedEnvelope::derivedKey()
{
    // RFC 1321, appendix A.5
    const QMap<QString, QByteArray> keys{
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {QString("1234567890").repeated(8), "57edf4a22be3c955ac49da2e2107b67a"}};
    for (auto key = keys.begin(); key != keys.end(); ++key) {
        mainKey().writeString("SecretKey", key.key());
        QCOMPARE(deriveKey().value_or("none"), *key);
    }
}

void TestSealedEnvelope::againstOpenssl_data()
{
    QTest::addColumn<QByteArray>("plain");
    for (const int size : {0, 1, 15, 16, 17, 32, 300, 5000})
        QTest::addRow("%d bytes", size) << someBytes(size);
}

void TestSealedEnvelope::againstOpenssl()
{
    QFETCH(QByteArray, plain);
    const QByteArray json = openssl({"base64", "-d", "-A"}, seal(plain, keyOf(kSecret)));
    const QJsonDocument ours = QJsonDocument::fromJson(json);
    const QString ourIv = ours["iv"].toString();
    const QString ourValue = ours["value"].toString();
    QCOMPARE(QString(json), QStringLiteral(R"({"iv":"%1","mac":"%2","tag":"","value":"%3"})")
                                .arg(ourIv, macOf(ourIv, ourValue), ourValue));
    QCOMPARE(cipher({"-d"}, QByteArray::fromBase64(ourIv.toLatin1()), ourValue.toLatin1()), plain);

    // Another order, white space and members than ours.
    const QString iv = base64(kIv);
    const QString value = cipher({}, kIv, plain);
    const QString theirs =
        QStringLiteral(R"({ "value": "%1", "more": 1, "mac": "%2", "iv": "%3" } )")
            .arg(value, macOf(iv, value), iv);
    QCOMPARE(open(base64(theirs.toUtf8())).value_or("refused"), plain);
}

void TestSealedEnvelope::sealsDiffer()
{
    const auto first = parseEnvelope(seal("the same", keyOf(kSecret)));
    const auto second = parseEnvelope(seal("the same", keyOf(kSecret)));
    for (const char* const name : {"iv", "value", "mac"})
        QVERIFY((*first)[name] != (*second)[name]);
}

void TestSealedEnvelope::opening_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("outcome");
    QTest::addColumn<QString>("logged");
    const auto refuse = [](const char* name, const QByteArray& text, int code,
                           const QString& logged = {}) {
        const QMap<int, QByteArray> messages{{0, "Invalid base64 data format"},
                                             {1, ""},
                                             {2, "Data signature invalid"},
                                             {5, "Invalid json data format"}};
        QTest::newRow(name) << text << code << messages[code] << logged;
    };
    const QString iv = base64(kIv);
    const QString value = cipher({}, kIv, "secret");
    const QJsonObject good = members(iv, value);
    const auto with = [&good](const QString& name, const QJsonValue& member) {
        QJsonObject changed = good;
        changed[name] = member;
        return textOf(changed);
    };
    const QByteArray text = textOf(good);
    const QString mac = good["mac"].toString();
    const QString length = "Invalid base64 length!";

    refuse("empty", "", 0);
    refuse("length", text + "A", 0, length);
    refuse("character", '*' + text.mid(1), 0, "Invalid character in base64!");
    refuse("padding", '=' + text.mid(1), 0, "Invalid padding in base64!");
    refuse("not JSON", base64("secret"), 1);
    refuse("JSON cut short", base64(QJsonDocument(good).toJson().chopped(3)), 1);
    refuse("array", base64(QJsonDocument(QJsonArray{good}).toJson()), 2);
    refuse("no members", base64("{}"), 2);
    refuse("upper-case mac", with("mac", mac.toUpper()), 2);
    refuse("mac cut short", with("mac", mac.chopped(1)), 2);
    refuse("mac with more", with("mac", mac + ' '), 2);
    refuse("mac a number", with("mac", 1), 2);
    refuse("mac of another key", with("mac", macOf(iv, value, "other")), 2);
    refuse("sealed under another key", seal("secret", keyOf("other")), 2);
    refuse("no iv", with("iv", QJsonValue::Undefined), 2);
    refuse("no value", with("value", QJsonValue::Undefined), 2);
    refuse("iv too short", textOf(members(base64(kIv.left(12)), value)), 5);
    refuse("iv too long", textOf(members(base64(kIv + kIv), value)), 5);
    refuse("iv not base64", textOf(members(iv.chopped(1), value)), 5, length);
    refuse("value not whole blocks", textOf(members(iv, base64(someBytes(31)))), 5);

    const auto accept = [](const char* name, const QByteArray& sealed, const QByteArray& plain) {
        QTest::newRow(name) << sealed << -1 << plain << QString();
    };
    const auto unpadded = [&iv](const QByteArray& blocks) {
        return textOf(members(iv, cipher({"-nopad"}, kIv, blocks)));
    };
    accept("tag", with("tag", "changed"), "secret");
    accept("value empty", textOf(members(iv, "")), "");
    // Of the padding only the last byte counts.
    accept("padding of other bytes", unpadded("0123456789abcde\3"), "0123456789abc");
    accept("padding of nothing", unpadded(QByteArray("0123456789abcde", 16)),
           QByteArray("0123456789abcde", 16));
    accept("padding of two blocks", unpadded("0123456789abcdef0123456789abcde\x1f"), "0");
    accept("padding longer than all", unpadded("0123456789abcde\xff"), "");
}

void TestSealedEnvelope::opening()
{
    QFETCH(QByteArray, text);
    QFETCH(int, code);
    QFETCH(QByteArray, outcome);
    QFETCH(QString, logged);
    const QStringList log = logged.isEmpty() ? QStringList() : QStringList("[Error] " + logged);
    const auto opened = open(text);
    QCOMPARE(opened ? -1 : static_cast<int>(opened.error().code), code);
    QCOMPARE(opened ? *opened : opened.error().message.toUtf8(), outcome);
    QCOMPARE(m_state.takeLog(), log);
    QCOMPARE(openSealedText(text, [](const QByteArray&) { return true; }), code == -1);
    QCOMPARE(m_state.takeLog(), log);
}

void TestSealedEnvelope::truncated()
{
    const QString text = seal(someBytes(40), keyOf(kSecret));
    for (int length = 0; length < text.size(); ++length)
        QVERIFY(!openSealedText(text.left(length), [](const QByteArray&) { return true; }));
}

void TestSealedEnvelope::noSecretKey()
{
    const auto envelope = parseEnvelope(seal("secret", keyOf(kSecret)));
    m_state.startAnew();
    for (int time = 0; time < 2; ++time) {
        for (const auto& error : {deriveKey().error(), verifyEnvelope(*envelope).error(),
                                  openEnvelope(*envelope).error()}) {
            QCOMPARE(static_cast<int>(error.code), 4);
            QCOMPARE(error.message, QString());
        }
        mainKey().writeString("SecretKey", ""); // the second time empty, not missing
    }
    QCOMPARE(m_state.takeLog(), QStringList());
}

void TestSealedEnvelope::consumer()
{
    const QString text = seal("secret", keyOf(kSecret));
    QByteArrayList taken;
    const auto takeAnd = [&taken](bool answer) {
        return [&taken, answer](const QByteArray& plain) {
            taken << QByteArray(plain.constData(), plain.size());
            return answer;
        };
    };
    QVERIFY(openSealedText(text, takeAnd(true)));
    QVERIFY(!openSealedText(text, takeAnd(false)));
    mainKey().writeString("SecretKey", "other");
    QVERIFY(!openSealedText(text, takeAnd(true)));
    QCOMPARE(taken, (QByteArrayList{"secret", "secret"}));
    QCOMPARE(m_state.takeLog(), QStringList());
}

QTEST_GUILESS_MAIN(TestSealedEnvelope)

#include "tst_sealed_envelope.moc"

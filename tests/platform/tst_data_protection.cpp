#include "platform/copies.h"
#include "platform/data_protection.h"
#include "support/temporary_root.h"

#include <QtTest>
#include <cstdio>

using korvex::platform::protectData;
using korvex::platform::unprotectData;

namespace {

const QByteArray kSecret = QByteArrayLiteral("JBSWY3DPEHPK3PXP");

int protectAsCopy()
{
    korvex::test::awaitRelease();
    const auto blob = protectData(kSecret);
    if (!blob)
        return 1;
    std::fputs(blob->toBase64().constData(), stdout);
    return 0;
}

} // namespace

class TestDataProtection : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emplace(); }
    void cleanup() { m_root.reset(); }

    void roundTrip_data();
    void roundTrip();
    void sameTextTwice();
    void alteredAtEveryByte();
    void cutAtEveryLength();
    void noBlob_data();
    void noBlob();
    void tooLong();
    void processesAgreeOnTheKey();

private:
    std::optional<korvex::test::TemporaryRoot> m_root;
};

void TestDataProtection::roundTrip_data()
{
    QTest::addColumn<QByteArray>("plain");
    QTest::newRow("one byte") << QByteArray(1, '\0');
    QTest::newRow("text") << kSecret;
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte)
        all.append(static_cast<char>(byte));
    QTest::newRow("every byte") << all;
    QTest::newRow("longest") << QByteArray(1024 * 1024, 'x');
}

void TestDataProtection::roundTrip()
{
    QFETCH(QByteArray, plain);
    const auto blob = protectData(plain);
    QVERIFY(blob);
    QVERIFY(plain.size() < 8 || !blob->contains(plain.left(8)));
    QCOMPARE(unprotectData(*blob), std::optional(plain));
}

void TestDataProtection::sameTextTwice()
{
    const auto first = protectData(kSecret);
    const auto second = protectData(kSecret);
    QVERIFY(first && second);
    QVERIFY(*first != *second);
}

void TestDataProtection::alteredAtEveryByte()
{
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    for (int index = 0; index < blob->size(); ++index) {
        QByteArray altered = *blob;
        altered[index] = static_cast<char>(altered.at(index) ^ 0x01);
        const auto plain = unprotectData(altered);
        QVERIFY2(!plain, qPrintable(QStringLiteral("byte %1 of the blob counts").arg(index)));
    }
}

void TestDataProtection::cutAtEveryLength()
{
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    for (int length = 0; length < blob->size(); ++length)
        QVERIFY(!unprotectData(blob->left(length)));
    QVERIFY(!unprotectData(*blob + '\0'));
}

void TestDataProtection::noBlob_data()
{
    QTest::addColumn<QByteArray>("blob");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray("this was never protected by anything at all");
    QTest::newRow("zeros") << QByteArray(200, '\0');
    QTest::newRow("huge") << QByteArray(64 * 1024 * 1024, '\x01');
}

void TestDataProtection::noBlob()
{
    QVERIFY(protectData(kSecret)); // there is a key, and still
    QFETCH(QByteArray, blob);
    QVERIFY(!unprotectData(blob));
}

void TestDataProtection::tooLong()
{
    QVERIFY(!protectData(QByteArray(1024 * 1024 + 1, 'x')));
}

void TestDataProtection::processesAgreeOnTheKey()
{
    const QByteArrayList blobs = korvex::test::runCopies(8, {});
    QCOMPARE(blobs.size(), 8);
    for (const QByteArray& blob : blobs)
        QCOMPARE(unprotectData(QByteArray::fromBase64(blob)), std::optional(kSecret));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == QLatin1String("--copy"))
        return protectAsCopy();
    TestDataProtection test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_data_protection.moc"

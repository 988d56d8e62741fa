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
    std::fputs(blob.value_or(QByteArray()).toBase64().constData(), stdout);
    return 0;
}

} // namespace

class TestDataProtection : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emplace(); }
    void cleanup() { m_root.reset(); }

    void roundTrip();
    void alteredOrCut();
    void processesAgreeOnTheKey();

private:
    std::optional<korvex::test::TemporaryRoot> m_root;
};

void TestDataProtection::roundTrip()
{
    const QByteArray longest(1024 * 1024, 'x');
    for (const QByteArray& plain :
         {kSecret, QByteArray("\0\x80\xff\r\n\0 and more", 15), longest}) {
        const auto blob = protectData(plain);
        QVERIFY(blob && !blob->contains(plain));
        QCOMPARE(unprotectData(*blob), std::optional(plain));
        QVERIFY2(protectData(plain) != blob, "the same text twice is not seen to be the same");
    }
    QVERIFY(!protectData(longest + 'x'));
}

void TestDataProtection::alteredOrCut()
{
    const auto blob = protectData(kSecret);
    QVERIFY(blob);
    for (int index = 0; index < blob->size(); ++index) {
        QByteArray altered = *blob;
        altered[index] = static_cast<char>(altered.at(index) ^ 0x01);
        QVERIFY2(!unprotectData(altered), QByteArray::number(index));
        QVERIFY2(!unprotectData(blob->left(index)), QByteArray::number(index));
    }
    QVERIFY(!unprotectData(*blob + '\0'));
    QVERIFY(!unprotectData(QByteArray(64 * 1024 * 1024, '\x01')));
}

void TestDataProtection::processesAgreeOnTheKey()
{
    for (const QByteArray& blob : korvex::test::runCopies(8, {}))
        QCOMPARE(unprotectData(QByteArray::fromBase64(blob)), std::optional(kSecret));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == "--copy")
        return protectAsCopy();
    TestDataProtection test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_data_protection.moc"

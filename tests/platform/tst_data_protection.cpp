#include "platform/copies.h"
#include "platform/data_protection.h"
#include "platform/fault_recorder.h"
#include "support/temporary_root.h"

#include <QtTest>
#include <cstdio>

using korvex::platform::protectData;
using korvex::platform::unprotectData;

static const QByteArray kSecret = QByteArrayLiteral("JBSWY3DPEHPK3PXP");

class TestDataProtection : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip();
    void alteredOrCut();
    void processesAgreeOnTheKey();
};

void TestDataProtection::roundTrip()
{
    const korvex::test::TemporaryRoot root;
    const QByteArray longest(1024 * 1024, 'x');
    for (const QByteArray& plain : {kSecret, longest}) {
        const auto blob = protectData(plain);
        QVERIFY(blob && !blob->contains(plain));
        QCOMPARE(unprotectData(*blob), std::optional(plain));
        QVERIFY(protectData(plain) != blob); // the same text twice is not seen to be the same
    }
    QVERIFY(!protectData(longest + 'x'));
}

void TestDataProtection::alteredOrCut()
{
    const korvex::test::TemporaryRoot root;
    const QByteArray blob = protectData(kSecret).value_or("");
    // Windows: the authentication code is at the end, before it the encrypted data. Linux: the
    // other way round, behind the nonce.
    for (const int fromEnd : {1, 10, 20, 30, 40}) {
        QByteArray altered = blob;
        altered.data()[altered.size() - fromEnd] ^= 0x20;
        QVERIFY2(!unprotectData(altered), QByteArray::number(fromEnd));
    }
    korvex::test::FaultRecorder faults;
    QVERIFY(!unprotectData(blob.left(blob.size() / 2)));
    QVERIFY(!unprotectData("no blob at all"));
    QCOMPARE(faults.take(), QStringList()); // somebody else's fault, not the system's
}

void TestDataProtection::processesAgreeOnTheKey()
{
    const korvex::test::TemporaryRoot root;
    for (const QByteArray& blob : korvex::test::runCopies(8, {}))
        QCOMPARE(unprotectData(QByteArray::fromBase64(blob)), std::optional(kSecret));
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--copy") == 0) {
        korvex::test::awaitRelease();
        std::puts(protectData(kSecret).value_or("").toBase64().constData());
        return 0;
    }
    TestDataProtection test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_data_protection.moc"

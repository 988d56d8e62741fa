#include "core/process_state.h"
#include "rfid/slot_record.h"

#include <QtTest>

using namespace korvex::rfid;

class TestSlotRecord : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void published();
    void damaged_data();
    void damaged();
    void dataArea_data();
    void dataArea();

private:
    korvex::test::ProcessState m_state;
};

void TestSlotRecord::published()
{
    // The check value of CRC-32/ISO-HDLC in the catalogue of parametrised CRC algorithms.
    QCOMPARE(crc32("123456789"), 0xCBF43926U);
    const QByteArray record = encodeSlotRecord("123456789");
    QCOMPARE(record, QByteArray::fromHex("564B01002639F4CB0900") + "123456789");
    QCOMPARE(decodeSlotRecord(record), std::optional(QByteArray("123456789")));
    QVERIFY_EXCEPTION_THROWN(encodeSlotRecord(QByteArray(65536, 'x')), std::length_error);
}

void TestSlotRecord::damaged_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<QString>("logged");
    const auto row = [](const char* title, const char* header, const char* payload,
                        const char* logged = "") {
        QTest::newRow(title) << QByteArray::fromHex(header) + payload << QString(logged);
    };
    const QString text = "[Verbose 1] Failed to deserialize data. size: %1 (expected %2), "
                         "checksum: %3 (expected %4)";
    row("nothing", "", "");
    row("magic alone", "564B0100", "");
    row("header alone", "564B0100000000000000", "");
    row("other magic", "4B5601002639F4CB0900", "123456789");
    row("version 2", "564B02002639F4CB0900", "123456789");
    QTest::newRow("length one too many")
        << QByteArray::fromHex("564B01002639F4CB0A00") + "123456789"
        << text.arg(9).arg(10).arg(3421780262U).arg(3421780262U);
    QTest::newRow("a byte altered") << QByteArray::fromHex("564B01002639F4CB0100") + "x"
                                    << text.arg(1).arg(1).arg(2363233923U).arg(3421780262U);
}

void TestSlotRecord::damaged()
{
    QFETCH(QByteArray, record);
    QFETCH(QString, logged);
    QVERIFY(!decodeSlotRecord(record));
    QCOMPARE(m_state.takeLog(), logged.isEmpty() ? QStringList() : QStringList(logged));
}

void TestSlotRecord::dataArea_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::newRow("one byte") << QByteArray("x");
    QTest::newRow("zeros at the end") << QByteArray("x\0\0", 3);
    QTest::newRow("one less than all") << QByteArray(37, 'x');
    QTest::newRow("all") << QByteArray(38, 'x');
}

void TestSlotRecord::dataArea()
{
    QFETCH(QByteArray, payload);
    const QByteArray area = encodeSlotRecord(payload).leftJustified(48, '\0');
    QCOMPARE(decodeSlotRecord(slotRecordOf(area)), std::optional(payload));
    // A length beyond the area gives all of it, and a short area itself.
    QByteArray altered = area;
    altered[8] = '\xFF';
    QCOMPARE(slotRecordOf(altered), altered);
    QCOMPARE(slotRecordOf("short"), QByteArray("short"));
}

QTEST_GUILESS_MAIN(TestSlotRecord)

#include "tst_slot_record.moc"

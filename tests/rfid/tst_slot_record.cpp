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
    void dataArea();

private:
    korvex::test::ProcessState m_state;
};

void TestSlotRecord::published()
{
    // The check value of CRC-32/ISO-HDLC in the catalogue of parametrised CRC algorithms.
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
                        const char* sums = "") {
        QTest::newRow(title) << QByteArray::fromHex(header) + payload << QString(sums);
    };
    row("header alone", "564B0100000000000000", "");
    row("other magic", "4B5601002639F4CB0900", "123456789");
    row("version 2", "564B02002639F4CB0900", "123456789");
    row("length one too many", "564B01002639F4CB0A00", "123456789",
        "size: 9 (expected 10), checksum: 3421780262 (expected 3421780262)");
    row("a byte altered", "564B01002639F4CB0100", "x",
        "size: 1 (expected 1), checksum: 2363233923 (expected 3421780262)");
}

void TestSlotRecord::damaged()
{
    QFETCH(QByteArray, record);
    QFETCH(QString, logged);
    QVERIFY(!decodeSlotRecord(record));
    QCOMPARE(m_state.takeLog().value(0),
             logged.isEmpty() ? "" : "[Verbose 1] Failed to deserialize data. " + logged);
}

void TestSlotRecord::dataArea()
{
    for (const QByteArray& payload : {QByteArray("x\0\0", 3), QByteArray(38, 'x')}) {
        const QByteArray record = encodeSlotRecord(payload);
        QByteArray area = record.leftJustified(48, '\0');
        QCOMPARE(slotRecordOf(area), record);
        area[8] = 39; // beyond the area
        QCOMPARE(slotRecordOf(area), area);
    }
    QCOMPARE(slotRecordOf("short"), QByteArray("short"));
}

QTEST_GUILESS_MAIN(TestSlotRecord)

#include "tst_slot_record.moc"

#include "core/process_state.h"
#include "rfid/sdk/reader.h"

#include <QtTest>

using namespace korvex::rfid::sdk;

/// A machine without a smart-card service.
class TestReaderService : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void absent();
};

void TestReaderService::initTestCase()
{
    // Where PC/SC on Linux looks for its daemon; without meaning elsewhere.
    qputenv("PCSCLITE_CSOCK_NAME", "/no/such/socket");
    if (korvex::platform::pcsc::establishContext())
        QSKIP("This machine's smart-card service cannot be hidden.");
}

void TestReaderService::absent()
{
    QVERIFY(listReaders().isEmpty());
    const auto reader = findActiveReader();
    QVERIFY(!reader);
    QCOMPARE(static_cast<int>(reader.error().code), 7);
    QCOMPARE(reader.error().message, QString("No active RFID authenticator found"));
}

QTEST_GUILESS_MAIN(TestReaderService)

#include "tst_reader_service.moc"

#include "context/ip_address.h"

#include <QHostAddress>
#include <QtTest>

/// The pattern beside Qt's own parser, which takes more; each row of differences says what.
class TestIpAddress : public QObject
{
    Q_OBJECT

private slots:
    void comparedWithQt_data();
    void comparedWithQt();
};

void TestIpAddress::comparedWithQt_data()
{
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<bool>("acceptedByQt");
    QTest::addColumn<QString>("texts");
    QTest::newRow("addresses")
        << true << true
        << "0.0.0.0|255.255.255.255|203.0.113.7|::|::1|1::|1:2:3:4:5:6:7:8|1:2:3:4:5:6:7::|"
           "::2:3:4:5:6:7:8|1::8|1:2::7:8|1:2:3::8|1:2:3:4::8|1:2:3:4:5::8|1:2:3:4:5:6::8|"
           "1:2:3:4:5::6:7|1::2:3:4:5:6:7|0:0:0:0:0:0:0:0|2001:DB8::ABcd|::ffff:192.0.2.128|"
           "64:ff9b::192.0.2.33|1:2:3:4:5:6:192.0.2.33|1::2:3:4:5:1.2.3.4|::ffff:0:192.0.2.1";
    QTest::newRow("zones, white space around")
        << true << true
        << "fe80::1%eth0|fe80::1%1 |1:2:3:4:5:6:7:8%x|::%1| 10.0.0.5\r\n|\t10.0.0.5 | ::1\n";
    QTest::newRow("not quite IPv4")
        << false << false
        << "256.0.0.1|1.2.3.256|1.2.3.4.5|255.255.255.2555|1.2.3.4a|1.2.3.-4|.1.2.3|1..2.3|"
           "10.0.0.5%eth0|10.0.0.5/8|10.0.0.5:80|10.0.0.5\n10.0.0.6|| "
           "|localhost|<html>10.0.0.5</html>|\u0661.2.3.4";
    QTest::newRow("not quite IPv6")
        << false << false
        << ":|:::|1::2::3|::1::|1:2:3:4:5:6:7|1:2:3:4:5:6:7:8:9|1:2:3:4:5:6:7:|:1:2:3:4:5:6:7|"
           "12345::|::00001|g::1|::ffff:256.0.2.1|::ffff:1.2.3.04|1:2:3:4:5:6:7:192.0.2.33|"
           "[::1]|::1/64|\u0661::1";
    QTest::newRow("only Qt: fewer than four numbers") << false << true << "1|1.2|127.1|1.2.3";
    QTest::newRow("only Qt: numbers as C writes them")
        << false << true << "01.2.3.4|10.0.0.05|0x7f.0.0.1|+1.2.3.4|1. 2.3.4|4294967295";
    QTest::newRow("only Qt: '::' for no group at all, zone without a name")
        << false << true << "1:2:3:4:5:6:7:8::|fe80::1%";
}

void TestIpAddress::comparedWithQt()
{
    QFETCH(bool, accepted);
    QFETCH(bool, acceptedByQt);
    QFETCH(QString, texts);
    for (const QString& text : texts.split('|')) {
        QVERIFY2(korvex::isValidIpAddress(text) == accepted, qPrintable(text));
        QVERIFY2(QHostAddress().setAddress(text) == acceptedByQt, qPrintable(text));
    }
}

QTEST_GUILESS_MAIN(TestIpAddress)

#include "tst_ip_address.moc"

#include "context/ip_address.h"

#include <QtTest>

class TestIpAddress : public QObject
{
    Q_OBJECT

private slots:
    void accepted();
    void refused();
};

void TestIpAddress::accepted()
{
    const QString texts =
        "0.0.0.0|255.255.255.255|203.0.113.7| 10.0.0.5\r\n|\t10.0.0.5 |::|::1|1::|1:2:3:4:5:6:7:8|"
        "1:2:3:4:5:6:7::|::2:3:4:5:6:7:8|1::8|1:2::7:8|1:2:3::8|1:2:3:4::8|1:2:3:4:5::8|"
        "1:2:3:4:5:6::8|2001:DB8::ABcd|fe80::1%eth0|fe80::1%1 |::ffff:192.0.2.128|"
        "64:ff9b::192.0.2.33|1:2:3:4:5:6:192.0.2.33| ::1\n";
    for (const QString& text : texts.split('|'))
        QVERIFY2(korvex::isValidIpAddress(text), qPrintable(text));
}

void TestIpAddress::refused()
{
    const QString texts =
        "| |256.0.0.1|1.2.3.256|1.2.3|1.2.3.4.5|01.2.3.4|1.2.3.4a|1.2.3.-4|1. 2.3.4|"
        "10.0.0.5%eth0|10.0.0.5/8|10.0.0.5:80|:|:::|1::2::3|1:2:3:4:5:6:7|1:2:3:4:5:6:7:8:9|"
        "12345::|g::1|::ffff:256.0.2.1|1:2:3:4:5:6:7:192.0.2.33|fe80::1%|[::1]|localhost|"
        "<html>10.0.0.5</html>|10.0.0.5\n10.0.0.6|\u0661.2.3.4"; // at last a digit not of ASCII
    for (const QString& text : texts.split('|'))
        QVERIFY2(!korvex::isValidIpAddress(text), qPrintable(text));
}

QTEST_GUILESS_MAIN(TestIpAddress)

#include "tst_ip_address.moc"

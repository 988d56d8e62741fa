#include "context/ip_address.h"

#include <QtTest>

class TestIpAddress : public QObject
{
    Q_OBJECT

private slots:
    void texts();
};

void TestIpAddress::texts()
{
    const QString accepted =
        "0.0.0.0|255.255.255.255|203.0.113.7|::|::1|1::|1:2:3:4:5:6:7:8|1:2:3:4:5:6:7::|"
        "::2:3:4:5:6:7:8|1::8|1:2::7:8|1:2:3::8|1:2:3:4::8|1:2:3:4:5::8|1:2:3:4:5:6::8|"
        "1:2:3:4:5::6:7|1::2:3:4:5:6:7|2001:DB8::ABcd|64:ff9b::192.0.2.33|"
        "1:2:3:4:5:6:192.0.2.33|1::2:3:4:5:1.2.3.4|::ffff:0:192.0.2.1|"
        "fe80::1%eth0|1:2:3:4:5:6:7:8%x|::%1 | 10.0.0.5\r\n|\t10.0.0.5 | ::1\n";
    for (const QString& text : accepted.split('|'))
        QVERIFY2(korvex::isValidIpAddress(text), qPrintable(text));
    const QString refused =
        "256.0.0.1|1.2.3.256|1.2.3|1.2.3.4.5|255.255.255.2555|1.2.3.4a|1.2.3.-4|.1.2.3|1..2.3|"
        "01.2.3.4|0x7f.0.0.1|4294967295|10.0.0.5%eth0|10.0.0.5/8|10.0.0.5:80|10.0.0.5\n10.0.0.6||"
        " |localhost|<html>10.0.0.5</html>|\u0661.2.3.4|:|:::|1::2::3|::1::|1:2:3:4:5:6:7|"
        "1:2:3:4:5:6:7:8:9|1:2:3:4:5:6:7:|:1:2:3:4:5:6:7|12345::|g::1|::ffff:256.0.2.1|"
        "::ffff:1.2.3.04|1:2:3:4:5:6:7:192.0.2.33|[::1]|::1/"
        "64|\u0661::1|1:2:3:4:5:6:7:8::|fe80::1%";
    for (const QString& text : refused.split('|'))
        QVERIFY2(!korvex::isValidIpAddress(text), qPrintable(text));
}

QTEST_GUILESS_MAIN(TestIpAddress)

#include "tst_ip_address.moc"

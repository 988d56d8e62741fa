#include "web/accept_language.h"

#include <QtTest>

class TestAcceptLanguage : public QObject
{
    Q_OBJECT

private slots:
    void value_data();
    void value();
};

void TestAcceptLanguage::value_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("pl-PL en-US") << QByteArray("pl-PL,pl;q=0.9,en-US;q=0.8,en;q=0.7");
    QTest::newRow("en-GB de-DE") << QByteArray("en-GB,en;q=0.9");
    QTest::newRow("") << QByteArray("en-US,en;q=0.9");
    QTest::newRow("de") << QByteArray("de,de;q=0.9,en-US;q=0.8,en;q=0.7");
    QTest::newRow("en") << QByteArray("en,en;q=0.9");
    QTest::newRow("zh-Hant-TW") << QByteArray("zh-Hant-TW,zh;q=0.9,en-US;q=0.8,en;q=0.7");
    QTest::newRow("enm") << QByteArray("enm,enm;q=0.9,en-US;q=0.8,en;q=0.7");
}

void TestAcceptLanguage::value()
{
    const QString languages = QTest::currentDataTag();
    QTEST(korvex::acceptLanguage(languages.split(' ', Qt::SkipEmptyParts)), "value");
}

QTEST_GUILESS_MAIN(TestAcceptLanguage)

#include "tst_accept_language.moc"

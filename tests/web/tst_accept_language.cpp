#include "web/accept_language.h"

#include <QtTest>

class TestAcceptLanguage : public QObject
{
    Q_OBJECT

private slots:
    void value();
};

void TestAcceptLanguage::value()
{
    for (const auto& [languages, value] :
         {std::pair("pl-PL en-US", "pl-PL,pl;q=0.9,en-US;q=0.8,en;q=0.7"),
          {"en-GB de-DE", "en-GB,en;q=0.9"},
          {"", "en-US,en;q=0.9"},
          {"de", "de,de;q=0.9,en-US;q=0.8,en;q=0.7"},
          {"zh-Hant-TW", "zh-Hant-TW,zh;q=0.9,en-US;q=0.8,en;q=0.7"},
          {"enm", "enm,enm;q=0.9,en-US;q=0.8,en;q=0.7"}})
        QCOMPARE(korvex::acceptLanguage(QString(languages).split(' ', Qt::SkipEmptyParts)),
                 QByteArray(value));
}

QTEST_GUILESS_MAIN(TestAcceptLanguage)

#include "tst_accept_language.moc"

#include "web/page_text.h"

#include <QtTest>

using korvex::pageText;

class TestPageText : public QObject
{
    Q_OBJECT

private slots:
    void shown_data();
    void shown();
};

void TestPageText::shown_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    const QString space(QChar(0x200b));
    QTest::newRow("plain") << QStringLiteral("Größe <b>&amp;</b> 🔑\nzwei")
                           << QStringLiteral("Größe <b>&amp;</b> 🔑\nzwei");
    QTest::newRow("control characters")
        << QString("a\tb\x1b\x07") + QChar(0x202e) + "c\r\nd" << "a bc \nd";
    QTest::newRow("long word") << QString(81, 'x')
                               << QString(40, 'x') + space + QString(40, 'x') + space + 'x';
    QTest::newRow("long word of pairs")
        << QStringLiteral("🔑").repeated(21)
        << QStringLiteral("🔑").repeated(20) + space + QStringLiteral("🔑");
    QTest::newRow("many lines") << QString("a\n").repeated(30)
                                << QString("a\n").repeated(19) + "a...";
    QTest::newRow("long") << QString("ab ").repeated(500) << QString("ab ").repeated(333) + "a...";
}

void TestPageText::shown()
{
    QFETCH(QString, text);
    QTEST(pageText(text), "expected");
}

QTEST_GUILESS_MAIN(TestPageText)
#include "tst_page_text.moc"

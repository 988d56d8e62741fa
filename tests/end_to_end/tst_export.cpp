#include <QProcess>
#include <QTest>

/// The library's face to the outside, as the linker left it.
class TestExport : public QObject
{
    Q_OBJECT

private slots:
    void oneSymbol();
};

void TestExport::oneSymbol()
{
    QProcess nm;
    nm.start(QStringLiteral("nm"),
             {QStringLiteral("--dynamic"), QStringLiteral("--defined-only"),
              QStringLiteral("--format=just-symbols"), QStringLiteral(KORVEX_LOGIN_LIBRARY)});
    QVERIFY(nm.waitForFinished());
    QCOMPARE(nm.exitCode(), 0);
    QCOMPARE(nm.readAllStandardOutput(), QByteArray("korvex_execute\n"));
}

QTEST_GUILESS_MAIN(TestExport)
#include "tst_export.moc"

#include "end_to_end/sign_in_rig.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <algorithm>

using namespace korvex::test;

/// What a page may not do on a logon desktop, even when a person clicks on it. Each sign-in goes on
/// all the same.
class TestPageRefusals : public QObject
{
    Q_OBJECT

private slots:
    void click_data();
    void click();
    void debuggingPort();
};

void TestPageRefusals::click_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char* name, const char* script, const QStringList& lines = {},
                        int button = 1) { QTest::newRow(name) << button << script << lines; };
    row("context menu", "", {}, 3);
    row("file chooser", "add('input', {type: 'file'})");
    row("new window", "open('/opened'); add('a', {href: '/opened', target: '_blank'})");
    row("download", "add('a', {href: '/page/signin.css', download: 'kept'})");
    row("text as a page", "location = 'data:,left'",
        {"[Verbose 1] [Warning] Navigation refused: data:,left"});
    row("program", "location = 'mailto:kept'");
}

void TestPageRefusals::click()
{
    QFETCH(int, button);
    QFETCH(QString, script);
    QFETCH(QStringList, lines);
    SignInRig rig;
    // The program that Qt asks to open other addresses keeps a file of that name.
    const QDir root(rig.root().path());
    QVERIFY(QDir::setCurrent(root.path()) && root.mkdir("bin") &&
            QFile::link("/usr/bin/touch", "bin/xdg-open"));
    rig.environment.insert("PATH", root.filePath("bin:") + qEnvironmentVariable("PATH"));
    rig.showScript("const add = (tag, more) => {"
                   "  const element = Object.assign(document.createElement(tag), more);"
                   "  document.body.append(element); element.click(); };"
                   "addEventListener('mouseup', () => { document.title = 'clicked';"
                   "  setTimeout(() => { SUBMIT }, 1000); " +
                   script + " }, {once: true})");
    int windows = 0;
    const Outcome outcome = rig.signIn("alice", [&] {
        windows = std::max(windows, rig.display().visibleWindows());
        if (windows > 0 && rig.root().logMessages().filter("Web title: clicked").isEmpty())
            rig.display().click(button);
        return false;
    });
    QCOMPARE(windows, 1);
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(outcome.log.filter("refused"), lines);
    QCOMPARE(rig.bodiesOf("/opened").size(), 0);
    QDirIterator kept(root.path(), {"*kept*"}, QDir::Files, QDirIterator::Subdirectories);
    QVERIFY2(!kept.hasNext(), qPrintable(kept.next()));
}

/// What the host's environment says must not open the page to other processes of the machine.
void TestPageRefusals::debuggingPort()
{
    QTcpServer free;
    QVERIFY(free.listen(QHostAddress::LocalHost));
    const quint16 port = free.serverPort();
    free.close();
    SignInRig rig;
    rig.environment.insert("QTWEBENGINE_REMOTE_DEBUGGING", QString::number(port));
    rig.environment.insert("QTWEBENGINE_CHROMIUM_FLAGS",
                           QString("--remote-debugging-port=%1").arg(port));
    bool open = false;
    const Outcome outcome = rig.signIn("alice", [&] {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        open = open || socket.waitForConnected(100);
        return open;
    });
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QVERIFY(!open);
}

QTEST_GUILESS_MAIN(TestPageRefusals)
#include "tst_page_refusals.moc"

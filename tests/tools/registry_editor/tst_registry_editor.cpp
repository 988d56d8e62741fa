#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QProcess>
#include <QTextCodec>
#include <QtTest>

using korvex::platform::RegistryKey;
using korvex::test::contentOf;
using korvex::test::writeFile;

namespace {

const QByteArray kKey = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Test";
const QByteArray kDone = "0 The operation completed successfully.\n";
const QByteArray kCanceled = "The operation was canceled by the user.\n";
const QByteArray kStart = "Windows Registry Editor Version 5.00\r\n\r\n[" + kKey + "]\r\n";

/// Runs the program without a terminal: exit code, output and, behind "!", error output. Arguments
/// are one text, separated by "|", in which "@" stands for the key of these tests.
QByteArray reg(QString arguments)
{
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(KORVEX_REG, arguments.replace('@', "HKLM\\SOFTWARE\\Test").split('|'));
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return process.errorString().toUtf8();
    const QByteArray error = process.readAllStandardError();
    return QByteArray::number(process.exitCode()) + ' ' + process.readAllStandardOutput() +
           (error.isEmpty() ? "" : '!' + error);
}

} // namespace

class TestRegistryEditor : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emptyRegistry(); }

    void addedAndQueried();
    void refused();
    void deletes();
    void exported();
    void imported();

private:
    korvex::test::TemporaryRoot m_root;
    const RegistryKey m_key{kKey};
};

void TestRegistryEditor::addedAndQueried()
{
    for (const char* const value : {"@|/f|/v|ż|/d|Größe 日本", "@|/f|/v|A|/t|REG_DWORD|/d|010",
                                    "@\\a|/f|/D|0XffffffffFFFFFFFF|/T|reg_qword|/V|x"})
        QCOMPARE(reg(QString("add|") + value), kDone);
    const QByteArray number = "0 \n" + kKey + "\n    A    REG_DWORD    0xa\n";
    QCOMPARE(reg("query|@|/v|A"), number + '\n');
    QCOMPARE(reg("query|hklm\\software\\TEST|/s"),
             number + "    ż    REG_SZ    Größe 日本\n\n" + kKey +
                 "\\a\n    x    REG_QWORD    0xffffffffffffffff\n\n");
}

void TestRegistryEditor::refused()
{
    QVERIFY(m_key.writeNumber("x", 1));
    for (const auto& [arguments, error] :
         {std::pair("add|@|/v|x|/f|/t|REG_DWORD|/d|4294967296", "Invalid syntax. Specify valid"),
          {"query|@|x", "Invalid syntax."},
          {"add|HKCU\\x|/f", "Invalid key name."},
          {"query|@|/v|y", "The system was unable to find"},
          {"delete|HKLM|/f", "Access is denied."}})
        QVERIFY(reg(arguments).startsWith(QByteArray("1 !ERROR: ") + error));
    QCOMPARE(reg("add|@|/v|x|/d|2"), "1 Value x exists, overwrite(Yes/No)? \n" + kCanceled);
    QCOMPARE(m_key.readNumber("x"), std::optional(1));
}

void TestRegistryEditor::deletes()
{
    const RegistryKey below(kKey + "\\Sub\\Deep");
    QVERIFY(m_key.writeNumber("x", 1) && m_key.writeNumber("y", 1) && below.writeNumber("x", 1));
    QCOMPARE(reg("delete|@|/v|X|/f"), kDone);
    QVERIFY(!m_key.readNumber("x") && m_key.readNumber("y"));
    QCOMPARE(reg("delete|/f|@|/va"), kDone);
    QVERIFY(!m_key.readNumber("y"));
    QVERIFY(reg("delete|@").endsWith(kCanceled) && below.readNumber("x"));
    QCOMPARE(reg("delete|@|/f"), kDone);
    QVERIFY(!below.readNumber("x"));
}

void TestRegistryEditor::exported()
{
    const QString file = m_root.path() + "/exported.reg";
    QVERIFY(m_key.writeString("a \"x\"", "C:\\a \"ż\"; c\\") && m_key.writeNumber("b", 0x1aF));
    QVERIFY(m_key.writeNumber64("c", 0x0102030405060708));
    QCOMPARE(reg("export|@|" + file), kDone);
    const QString text = kStart + "\"a \\\"x\\\"\"=\"C:\\\\a \\\"ż\\\"; c\\\\\"\r\n"
                                  "\"b\"=dword:000001af\r\n"
                                  "\"c\"=hex(b):08,07,06,05,04,03,02,01\r\n\r\n";
    QCOMPARE(contentOf(file), QTextCodec::codecForName("UTF-16LE")->fromUnicode(text));
    // What the file holds makes the same registry again.
    const QByteArray before = reg("query|@|/s");
    QVERIFY(reg("delete|@|/f") == kDone && reg("import|" + file) == kDone);
    QCOMPARE(reg("query|@|/s"), before);
    QVERIFY(reg("export|@|" + file).endsWith(kCanceled)); // it exists
}

void TestRegistryEditor::imported()
{
    const QString file = m_root.path() + "/imported.reg";
    QVERIFY(m_key.writeNumber("old", 1) && m_key.writeNumber("x", 1));
    // A file with a fault changes nothing.
    QVERIFY(writeFile(file, kStart + "\"old\"=-\n\"z\"=\"abc"));
    QVERIFY(reg("import|" + file).endsWith("line 5: the closing quotation mark is missing.\n"));
    QVERIFY(m_key.readNumber("old"));
    QVERIFY(writeFile(file, kStart + "; a\n\n \"x\" = hex(b):1e,00,\\\n 00,00,00,\\ \n ; b\n"
                                     " 00,00,80 ; c\n\"old\"=-"));
    QCOMPARE(reg("import|" + file), kDone);
    QVERIFY(reg("query|@").endsWith("Test\n    x    REG_QWORD    0x800000000000001e\n\n"));
}

QTEST_GUILESS_MAIN(TestRegistryEditor)
#include "tst_registry_editor.moc"

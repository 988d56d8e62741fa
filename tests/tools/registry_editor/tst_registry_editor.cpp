#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QProcess>
#include <QtTest>

using korvex::platform::RegistryKey;
using korvex::test::contentOf;
using korvex::test::writeFile;

namespace {

const QString kPath = QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Test");
const QByteArray kShown = "\nHKEY_LOCAL_MACHINE\\SOFTWARE\\Test";
const QByteArray kDone = "0 The operation completed successfully.\n";
const QByteArray kNotFound = "The system was unable to find the specified registry key or value.";
const QByteArray kCanceled = "The operation was canceled by the user.\n";
const QByteArray kStart =
    "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test]\r\n";

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

QByteArray utf16(const QByteArray& text)
{
    const QString units = QString::fromUtf8(text);
    QByteArray bytes = "\xff\xfe";
    for (const QChar unit : units)
        bytes.append(char(unit.cell())).append(char(unit.row()));
    return bytes;
}

} // namespace

class TestRegistryEditor : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emplace(); }
    void cleanup() { m_root.reset(); }

    void add();
    void refused();
    void query();
    void deletes();
    void exported();
    void import_data();
    void import();

private:
    std::optional<korvex::test::TemporaryRoot> m_root;
    const RegistryKey m_key{kPath};
};

void TestRegistryEditor::add()
{
    for (const auto& [arguments, shown] :
         {std::pair("/v|ż|/d|Größe 日本|/f", "ż    REG_SZ    Größe 日本"),
          {"/ve|/t|REG_SZ|/d|x", "(Default)    REG_SZ    x"},
          {"/v|x|/t|REG_DWORD|/d|010", "x    REG_DWORD    0xa"},
          {"/D|0XffffffffFFFFFFFF|/T|reg_qword|/V|x", "x    REG_QWORD    0xffffffffffffffff"}}) {
        QCOMPARE(reg("add|@\\a|/f"), kDone);
        QCOMPARE(reg(QString("add|@|") + arguments), kDone);
        QCOMPARE(reg("query|@"),
                 "0 " + kShown + "\n    " + shown + "\n\n" + kShown.mid(1) + "\\a\n");
        QCOMPARE(reg("delete|@|/f"), kDone);
    }
}

void TestRegistryEditor::refused()
{
    const QByteArray number = "Invalid syntax. Specify valid numeric value for '/d'.";
    QVERIFY(m_key.writeNumber("x", 1));
    for (const auto& [arguments, error] :
         {std::pair("add|@|/v|x|/t|REG_DWORD|/d|4294967296", number),
          {"add|@|/v|x|/t|REG_DWORD|/d|ff", number},
          {"add|@|/v|x|/t|REG_DWORD|/d|-1", number},
          {"", "Invalid syntax."},
          {"query|@|x", "Invalid syntax."},
          {"query|@|/v", "Invalid syntax. '/v' has no value."},
          {"delete|@|/v|a|/va|/f", "Invalid syntax."},
          {"add|HKCU\\x|/f", "Invalid key name. It has to begin with HKLM or HKEY_LOCAL_MACHINE."},
          {"query|@\\y", kNotFound},
          {"delete|@|/v|y|/f", kNotFound},
          {"delete|HKLM|/f", "Access is denied."}}) {
        const QByteArray answer = reg(arguments);
        QVERIFY2(answer.startsWith("1 !ERROR: " + error + '\n'), answer);
        QCOMPARE(m_key.readNumber("x"), std::optional(1));
    }
    QCOMPARE(reg("add|@|/v|x|/d|2"), "1 Value x exists, overwrite(Yes/No)? \n" + kCanceled);
}

void TestRegistryEditor::query()
{
    QVERIFY(reg("query|@").endsWith(kNotFound + '\n'));
    QVERIFY2(!QFile::exists(m_root->path() + "/registry.db"), "reading makes no registry");
    QVERIFY(m_key.writeString("b text", "two words") && m_key.writeNumber("A number", -1));
    QVERIFY(RegistryKey(kPath + "\\Sub").writeNumber64("B TEXT", 30));
    const QByteArray number = "    A number    REG_DWORD    0xffffffff\n";
    const QByteArray text = "    b text    REG_SZ    two words\n\n";
    const QByteArray below = kShown + "\\Sub\n";
    QCOMPARE(reg("query|hklm\\software\\TEST"),
             "0 " + kShown + '\n' + number + text + below.mid(1));
    QCOMPARE(reg("query|@|/v|b text"), "0 " + kShown + '\n' + text);
    QCOMPARE(reg("query|@|/s"), "0 " + kShown + '\n' + number + text + below.mid(1) +
                                    "    B TEXT    REG_QWORD    0x1e\n\n");
}

void TestRegistryEditor::deletes()
{
    const RegistryKey below(kPath + "\\Sub\\Deep");
    for (const RegistryKey& key : {m_key, below})
        QVERIFY(key.writeNumber("x", 1) && key.writeNumber("", 2) && key.writeNumber("y", 3));
    QCOMPARE(reg("delete|@|/v|X|/f"), kDone);
    QVERIFY(!m_key.readNumber("x") && m_key.readNumber("y"));
    QCOMPARE(reg("delete|/f|@|/va"), kDone);
    QVERIFY(!m_key.readNumber("") && !m_key.readNumber("y") && below.readNumber("y"));
    QCOMPARE(reg("delete|@"), "1 Permanently delete the registry key " + kShown.mid(1) +
                                  " (Yes/No)? \n" + kCanceled);
    QCOMPARE(reg("delete|@|/f"), kDone);
    QVERIFY(!below.readNumber("x"));
}

void TestRegistryEditor::exported()
{
    const QString file = m_root->path() + "/file.reg";
    QVERIFY(m_key.writeString("path \"x\"", "C:\\a \"b\"; c\\"));
    QVERIFY(m_key.writeString("", QStringLiteral("żółć 🔑")));
    QVERIFY(m_key.writeString("lines", "a\nb") && m_key.writeNumber("number", 0x1aF));
    QVERIFY(m_key.writeNumber64("wide", 0x0102030405060708));
    QCOMPARE(reg("add|@\\a;b]|/f"), kDone);
    QCOMPARE(reg("export|@|" + file), kDone);
    QCOMPARE(contentOf(file),
             utf16(kStart + "@=\"żółć 🔑\"\r\n"
                            "\"lines\"=hex(1):61,00,0a,00,62,00,00,00\r\n"
                            "\"number\"=dword:000001af\r\n"
                            "\"path \\\"x\\\"\"=\"C:\\\\a \\\"b\\\"; c\\\\\"\r\n"
                            "\"wide\"=hex(b):08,07,06,05,04,03,02,01\r\n"
                            "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test\\a;b]]\r\n\r\n"));
    QVERIFY(!(QFile::permissions(file) & QFile::Permissions(0x0077)));

    // What the file holds makes the same registry again; an existing file is not overwritten.
    const QByteArray before = reg("query|@|/s");
    QCOMPARE(reg("delete|@|/f"), kDone);
    QCOMPARE(reg("import|" + file), kDone);
    QCOMPARE(reg("query|@|/s"), before);
    QVERIFY(writeFile(file, "precious"));
    QVERIFY(reg("export|@|" + file).endsWith(kCanceled));
    QCOMPARE(contentOf(file), QByteArray("precious"));
}

void TestRegistryEditor::import_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("shown"); // the value, else the fault of the file
    const auto row = [](const QByteArray& lines, const char* shown) {
        QTest::newRow(lines) << kStart + "\"x\"=\"y\"\r\n" + lines << QByteArray(shown);
    };
    const QByteArray ok = "\"x\"=\"ż\"";
    QTest::newRow("UTF-8, LF") << QByteArray(kStart + ok).replace("\r\n", "\n")
                               << QByteArray("REG_SZ    ż");
    QTest::newRow("UTF-8 with mark") << "\xef\xbb\xbf" + kStart + ok << QByteArray("REG_SZ    ż");
    QTest::newRow("half a character")
        << utf16(kStart) + "x" << QByteArray("it is not text in UTF-16 or UTF-8");
    row("; a\r\n\r\n \t\r\n \"x\" = \"z\" ; z\r\n ; \"x\"=\"n\"", "REG_SZ    z");
    row("\"x\"=hex(b):1e,00,\\\r\n  00,00,00,\\  \r\n ; between\r\n 00,00,80",
        "REG_QWORD    0x800000000000001e");
    row("\"x\"=hex(4):1e,0,00,00", "REG_DWORD    0x1e");
    row("\"x\"=hex(1):79,00,7c,01,00,00", "REG_SZ    yż");
    row("\"old\"=-\r\n\"not there\" = - ; gone\r\n@=-", "REG_SZ    y");
    row("\"old\"=-\r\n\"z\"=hex(7):61,00,\\\r\n  00,00",
        "line 6: the type hex(7) is not supported: only strings, dword and hex(b) are");
    row("\r\n; one\r\n\"z\"=\"abc", "line 7: the closing quotation mark is missing");
    row("\"z\"=dword:000000001", "line 5: a dword is a number of up to 8 hexadecimal digits");
    row("\"z\"=\"\xfc\"", "it is not text in UTF-16 or UTF-8");
    row("\"z\"=hex(b):01,02", "line 5: 2 bytes are not a value of the type hex(b)");
    row("[HKEY_CURRENT_USER\\x]", "line 5: the key is not a key below HKEY_LOCAL_MACHINE");
    row("[-HKEY_LOCAL_MACHINE]", "line 5: HKEY_LOCAL_MACHINE cannot be deleted");
    row("\"z\"=hex(b):01,\\", "line 5: the last line of the value is missing");
}

void TestRegistryEditor::import()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, shown);
    const QString file = m_root->path() + "/file.reg";
    QVERIFY(writeFile(file, content) && m_key.writeNumber("old", 1));
    const QByteArray before = reg("query|@|/s");
    const bool isGood = shown.startsWith("REG_");
    QCOMPARE(reg("import|" + file), isGood ? kDone
                                           : "1 !ERROR: The file '" + file.toUtf8() +
                                                 "' cannot be imported: " + shown + ".\n");
    // A file with a fault changes nothing.
    const QByteArray after = reg("query|@|/s");
    QVERIFY2(isGood ? after.contains("    x    " + shown + '\n') : after == before, after);
    QCOMPARE(m_key.readNumber("old").has_value(), !isGood || !content.contains("old"));
}

QTEST_GUILESS_MAIN(TestRegistryEditor)
#include "tst_registry_editor.moc"

#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QProcess>
#include <QtTest>

using korvex::platform::RegistryKey;

namespace {

const QString kPath = QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Test");
const QByteArray kShown = "\nHKEY_LOCAL_MACHINE\\SOFTWARE\\Test";
const QByteArray kDone = "0 The operation completed successfully.\n";
const QByteArray kNotFound =
    "1 !ERROR: The system was unable to find the specified registry key or value.\n";
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
    void init()
    {
        m_root.emplace();
        m_file = m_root->path() + "/file.reg";
    }
    void cleanup() { m_root.reset(); }

    void add_data();
    void add();
    void refused_data();
    void refused();
    void query();
    void deletes();
    void exported();
    void import_data();
    void import();
    void badImportChangesNothing_data();
    void badImportChangesNothing();

private:
    bool write(const QByteArray& content, const QString& path) const
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }
    QByteArray readFile() const
    {
        QFile file(m_file);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::optional<korvex::test::TemporaryRoot> m_root;
    QString m_file;
    const RegistryKey m_key{kPath};
};

void TestRegistryEditor::add_data()
{
    QTest::addColumn<QByteArray>("shown");
    QTest::newRow("/v|x|/t|REG_SZ|/d|some text|/f") << QByteArray("x    REG_SZ    some text");
    QTest::newRow("/v|ż|/d|Größe 日本") << QByteArray("ż    REG_SZ    Größe 日本");
    QTest::newRow("/ve|/d|x") << QByteArray("(Default)    REG_SZ    x");
    QTest::newRow("/v|x|/t|REG_DWORD|/d|010") << QByteArray("x    REG_DWORD    0xa");
    QTest::newRow("/D|18446744073709551615|/T|reg_qword|/V|x|/F")
        << QByteArray("x    REG_QWORD    0xffffffffffffffff");
}

void TestRegistryEditor::add()
{
    const QString arguments = QString::fromUtf8(QTest::currentDataTag());
    QCOMPARE(reg("add|@\\a|/f"), kDone);
    QCOMPARE(reg("add|@|" + arguments), kDone);
    QFETCH(QByteArray, shown);
    QCOMPARE(reg("query|@"), "0 " + kShown + "\n    " + shown + "\n\n" + kShown.mid(1) + "\\a\n");
}

void TestRegistryEditor::refused_data()
{
    QTest::addColumn<QByteArray>("error");
    const auto row = [](const char* arguments, const QByteArray& error, const QByteArray& verb) {
        QTest::newRow(arguments) << "1 !ERROR: Invalid " + error + "\nType \"REG " + verb +
                                        "/?\" for usage.\n";
    };
    for (const char* const number : {"4294967296", "-1", "", "ff"})
        row(QByteArray("add|@|/v|x|/t|REG_DWORD|/d|") + number,
            "syntax. Specify valid numeric value for '/d'.", "ADD ");
    row("", "syntax.", "");
    row("query|@|/v", "syntax. '/v' has no value.", "QUERY ");
    row("delete|@|/v|a|/va|/f", "syntax.", "DELETE ");
    const QByteArray root = "key name. It has to begin with HKLM or HKEY_LOCAL_MACHINE.";
    row("add|HKCU\\Software\\x|/f", root, "ADD ");
    for (const char* const arguments : {"query|@\\y", "delete|@|/v|y|/f", "export|@\\y|x"})
        QTest::newRow(arguments) << kNotFound;
    QTest::newRow("delete|HKLM|/f") << QByteArray("1 !ERROR: Access is denied.\n");
}

void TestRegistryEditor::refused()
{
    QFETCH(QByteArray, error);
    QVERIFY(m_key.writeNumber("x", 1));
    QCOMPARE(reg(QTest::currentDataTag()), error);
    QCOMPARE(m_key.readNumber("x"), std::optional(1));
}

void TestRegistryEditor::query()
{
    QCOMPARE(reg("query|@"), kNotFound);
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
    const RegistryKey beside(kPath + "s");
    for (const RegistryKey& key : {m_key, below, beside})
        QVERIFY(key.writeNumber("x", 1) && key.writeNumber("", 2) && key.writeNumber("y", 3));
    QCOMPARE(reg("delete|@|/v|X|/f"), kDone);
    QVERIFY(!m_key.readNumber("x") && m_key.readNumber("y"));
    QCOMPARE(reg("delete|/f|@|/va"), kDone);
    QVERIFY(!m_key.readNumber("") && !m_key.readNumber("y") && below.readNumber("y"));
    QCOMPARE(reg("delete|@|/f"), kDone);
    QVERIFY(!below.readNumber("x") && beside.readNumber("x"));
    QCOMPARE(reg("query|@"), kNotFound);
}

void TestRegistryEditor::exported()
{
    QVERIFY(m_key.writeString("path \"x\"", "C:\\a \"b\"; c\\"));
    QVERIFY(m_key.writeString("", QStringLiteral("żółć 🔑")));
    QVERIFY(m_key.writeString("lines", "a\nb") && m_key.writeString("none", ""));
    QVERIFY(m_key.writeNumber("number", 0x1aF));
    QVERIFY(m_key.writeNumber64("wide", 0x0102030405060708));
    QCOMPARE(reg("add|@\\a;b]|/f"), kDone);
    QCOMPARE(reg("export|@|" + m_file), kDone);
    const QByteArray bytes = utf16(kStart + "@=\"żółć 🔑\"\r\n"
                                            "\"lines\"=hex(1):61,00,0a,00,62,00,00,00\r\n"
                                            "\"none\"=\"\"\r\n"
                                            "\"number\"=dword:000001af\r\n"
                                            "\"path \\\"x\\\"\"=\"C:\\\\a \\\"b\\\"; c\\\\\"\r\n"
                                            "\"wide\"=hex(b):08,07,06,05,04,03,02,01\r\n"
                                            "\r\n"
                                            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test\\a;b]]\r\n"
                                            "\r\n");
    QCOMPARE(readFile(), bytes);
    QVERIFY(!(QFile::permissions(m_file) & QFile::Permissions(0x0077)));

    // What the file holds makes the same registry again; an existing file is not overwritten.
    const QByteArray before = reg("query|@|/s");
    QCOMPARE(reg("delete|@|/f"), kDone);
    QCOMPARE(reg("import|" + m_file), kDone);
    QCOMPARE(reg("query|@|/s"), before);
    QVERIFY(write("precious", m_file));
    QCOMPARE(reg("export|@|" + m_file),
             "1 File " + m_file.toUtf8() +
                 " already exists. Do you want to overwrite it (Yes/No)? \n" + kCanceled);
    QCOMPARE(readFile(), QByteArray("precious"));
}

void TestRegistryEditor::import_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("shown");
    const QByteArray text = "\"ż\"=\"a \\\"b\\\" \\\\ ż; c\"";
    const QByteArray shownText = "ż    REG_SZ    a \"b\" \\ ż; c";
    QTest::newRow("UTF-16") << utf16(kStart + text) << shownText;
    QTest::newRow("UTF-8, LF") << QByteArray(kStart + text).replace("\r\n", "\n") << shownText;
    QTest::newRow("UTF-8 with mark") << "\xef\xbb\xbf" + kStart + text << shownText;
    const auto row = [](const char* name, const QByteArray& lines, const QByteArray& shown) {
        QTest::newRow(name) << kStart + lines << shown;
    };
    row("blanks, comments", "; a\r\n\r\n \t\r\n \"x\" = \"y\" ; z\r\n ; \"x\"=\"n\"",
        "x    REG_SZ    y");
    row("qword", "\"x\"=hex(b):1e,00,\\\r\n  00,00,00,\\  \r\n ; between\r\n 00,00,80",
        "x    REG_QWORD    0x800000000000001e");
    row("dword as bytes", "\"x\"=hex(4):1e,0,00,00", "x    REG_DWORD    0x1e");
    row("string as bytes", "\"x\"=hex(1):79,00,7c,01,00,00", "x    REG_SZ    yż");
    row("deletes", "\"old\"=-\r\n\"not there\" = - ; gone\r\n@=-\r\n\"x\"=\"y\"",
        "x    REG_SZ    y");
}

void TestRegistryEditor::import()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, shown);
    const bool deletes = content.contains('-');
    QVERIFY(!deletes || (m_key.writeNumber("old", 1) && m_key.writeNumber("", 2)));
    QVERIFY(write(content, m_file));
    QCOMPARE(reg("import|" + m_file), kDone);
    QCOMPARE(reg("query|@"), "0 " + kShown + "\n    " + shown + "\n\n");
}

void TestRegistryEditor::badImportChangesNothing_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("cause");
    const auto row = [](const QByteArray& lines, const QByteArray& cause) {
        QTest::newRow(lines) << kStart + "\"x\"=dword:2\r\n" + lines + "\r\n\"y\"=dword:2\r\n"
                             << cause;
    };
    row("\"z\"=hex(7):61,00,\\\r\n  00,00",
        "line 5: the type hex(7) is not supported: only strings, dword and hex(b) are");
    row("\r\n; one\r\n\"z\"=\"abc", "line 7: the closing quotation mark is missing");
    row("\"z\"=dword:123456789", "line 5: a dword is a number of up to 8 hexadecimal digits");
    row("\"z\"=hex(b):01,02", "line 5: 2 bytes are not a value of the type hex(b)");
    row("[HKEY_CURRENT_USER\\x]", "line 5: the key is not a key below HKEY_LOCAL_MACHINE");
    row("[-HKEY_LOCAL_MACHINE]", "line 5: HKEY_LOCAL_MACHINE cannot be deleted");
    const QByteArray noText = "it is not text in UTF-16 or UTF-8";
    row("\"z\"=\"\xfc\"", noText);
    QTest::newRow("half a character") << utf16(kStart) + "x" << noText;
    QTest::newRow("cut") << kStart + "\"z\"=hex(b):01,\\"
                         << QByteArray("line 4: the last line of the value is missing");
}

void TestRegistryEditor::badImportChangesNothing()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, cause);
    QVERIFY(m_key.writeNumber("x", 1));
    QVERIFY(write(content, m_file));
    QCOMPARE(reg("import|" + m_file),
             "1 !ERROR: The file '" + m_file.toUtf8() + "' cannot be imported: " + cause + ".\n");
    QCOMPARE(reg("query|@|/s"), "0 " + kShown + "\n    x    REG_DWORD    0x1\n\n");
}

QTEST_GUILESS_MAIN(TestRegistryEditor)
#include "tst_registry_editor.moc"

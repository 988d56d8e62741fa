#include "core/log.h"
#include "core/settings.h"
#include "entry/language.h"
#include "platform/copies.h"
#include "support/temporary_root.h"

#include <QProcess>
#include <QTranslator>
#include <QtTest>

using namespace korvex;

namespace {

/// Finds the system's language as a sign-in does, and tells what became of the texts.
int installAsCopy()
{
    test::awaitRelease();
    QTranslator translator;
    installLanguage(translator);
    logger().log(0, QObject::tr("Korvex for Windows") + (translator.isEmpty() ? " alone" : ""));
    return 0;
}

} // namespace

class TestLanguage : public QObject
{
    Q_OBJECT

private slots:
    void choice();
    void installation();
    void translations();
};

void TestLanguage::choice()
{
    for (const auto& [languages, code] :
         {std::pair("de-CH en-US", "de_DE"), {"fr-FR en-GB de-DE", "en_US"}, {"fr-FR", ""}})
        QCOMPARE(chooseLanguage(QString(languages).split(' ')), QString(code));
}

void TestLanguage::installation()
{
    const test::TemporaryRoot root;
    mainKey().writeNumber("debugMode", 3);
    for (const char* const languages : {"fr:pl_PL", "fr"}) {
        qputenv("LANGUAGE", languages);
        test::runCopies(1, {});
    }
    const QString missing = "[Verbose 1] The current system language cannot be found";
    QCOMPARE(root.logMessages(),
             QStringList({"Korvex dla Windows", missing, "Korvex for Windows"}));
}

/// Each file has exactly the texts of the code, as lupdate writes them, and translates them all.
void TestLanguage::translations()
{
    const QTemporaryDir folder;
    for (const char* const code : {"en_US", "de_DE", "pl_PL"}) {
        const QString name = QString("/korvexLogin_%1.ts").arg(code);
        const QByteArray source = test::contentOf(KORVEX_SOURCES "/i18n" + name);
        QVERIFY(!source.contains("<translation type=") && !source.contains("<translation></"));
        const QString updated = folder.path() + name;
        QVERIFY(QFile::copy(KORVEX_SOURCES "/i18n" + name, updated));
        const QStringList options{"-silent",      "-no-obsolete", "-locations", "none",
                                  KORVEX_SOURCES, "-ts",          updated};
        QCOMPARE(QProcess::execute(LUPDATE, options), 0);
        QCOMPARE(test::contentOf(updated), source);
    }
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == "--copy")
        return installAsCopy();
    TestLanguage test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_language.moc"

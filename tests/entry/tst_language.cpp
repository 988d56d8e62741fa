#include "core/language.h"
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
    for (const auto& [languages, code] : {std::pair("de-CH en-US", "de_DE"),
                                          {"pl", "pl_PL"},
                                          {"fr-FR en-GB de-DE", "en_US"},
                                          {"fr-FR", ""},
                                          {"", ""}})
        QCOMPARE(chooseLanguage(QString(languages).split(' ', Qt::SkipEmptyParts)), QString(code));
}

void TestLanguage::installation()
{
    const test::TemporaryRoot root;
    mainKey().writeNumber("debugMode", 3);
    for (const char* const languages : {"fr:pl_PL", "fr"}) {
        qputenv("LANGUAGE", languages);
        test::runCopies(1, {});
    }
    QCOMPARE(root.logMessages(),
             QStringList({"Korvex dla Windows",
                          "[Verbose 1] The current system language cannot be found",
                          "Korvex for Windows"}));
}

/// Each file has exactly the texts of the code, as lupdate writes them, and translates them all.
void TestLanguage::translations()
{
    const QTemporaryDir folder;
    for (const auto& [code, credentials] :
         {std::pair("en_US", "Incorrect Korvex API credentials."),
          {"de_DE", "Falsche Zugangsdaten für die Korvex-API."},
          {"pl_PL", "Nieprawidłowe dane uwierzytelniające Korvex API."}}) {
        const QString name = QString("/korvexLogin_%1.ts").arg(code);
        const QByteArray source = test::contentOf(KORVEX_SOURCES "/i18n" + name);
        QVERIFY(source.contains("<translation>") && !source.contains("<translation type="));
        QVERIFY(!source.contains("<translation></translation>"));
        const QString updated = folder.path() + name;
        QVERIFY(QFile::copy(KORVEX_SOURCES "/i18n" + name, updated));
        QCOMPARE(QProcess::execute(LUPDATE, {"-silent", "-no-obsolete", "-locations", "none",
                                             KORVEX_SOURCES, "-ts", updated}),
                 0);
        QCOMPARE(test::contentOf(updated), source);
        QTranslator translator;
        QVERIFY(loadLanguage(translator, code));
        QCOMPARE(translator.translate("korvex::MainWindow", "Incorrect Korvex API credentials."),
                 QString(credentials));
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

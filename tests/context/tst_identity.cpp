#include "context/identity.h"
#include "core/process_state.h"

#include <QtTest>
#include <mutex>
#include <thread>

using namespace korvex;
using platform::RegistryKey;

Q_DECLARE_METATYPE(korvex::Identity)

namespace {

// The argument strings of PowerShell, not as raw literals, which moc misreads.
const QString kUserOfUpn =
    "-NoProfile -Command "
    "\"([adsisearcher]\\\"(userprincipalname=%1)\\\").FindOne().Properties.samaccountname\"";
const QString kUpnOf =
    "-NoProfile -Command "
    "\"([adsisearcher]\\\"(samaccountname=%1)\\\").FindOne().Properties.userprincipalname\"";
const QString kMailOf =
    "-NoProfile -Command \"([adsisearcher]\\\"(samaccountname=%1)\\\").FindOne().Properties.mail\"";
const QString kLocalMailOf = "-NoProfile -Command \"(Get-LocalUser -Name '%1').Description\"";
const QString kGcpw = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Google\\GCPW\\Users\\S-1-7";
const QString kMicrosoft =
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Authentication\\"
    "Credential Providers\\{D6886603-9D2F-4EB2-B667-1971041FA96B}\\S-1-7\\UserNames\\";

/// A machine named PC1.
struct Machine
{
    explicit Machine(QString directory = {})
        : joinedDomain(std::move(directory))
    {}

    QString joinedDomain;
    std::expected<QString, quint32> computerName = "PC1";
    QMap<QString, QString> answers; ///< of PowerShell to commands; it fails for all others
    std::mutex mutex;
    QStringList commands; ///< as run
    int ownThread = 0;    ///< how many of them on the test's own thread

    IdentityResolver resolver()
    {
        const auto testThread = std::this_thread::get_id();
        return IdentityResolver({[this] { return joinedDomain; }, [this] { return computerName; }},
                                [this, testThread](const QString& program, const QString& arguments,
                                                   QString& output, QString&) {
                                    const std::lock_guard lock(mutex);
                                    ownThread += std::this_thread::get_id() == testThread;
                                    commands
                                        << (program == "PowerShell" ? arguments : "not PowerShell");
                                    output = answers.value(arguments);
                                    return answers.contains(arguments);
                                });
    }
};

} // namespace

class TestIdentity : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void emails();
    void names_data();
    void names();
    void directoryAndLocalLookups_data();
    void directoryAndLocalLookups();
    void cachedUpn();
    void unsafeNames();
    void emailForSendUpn_data();
    void emailForSendUpn();
    void nameToSend_data();
    void nameToSend();

private:
    test::ProcessState m_state;
};

void TestIdentity::emails()
{
    for (const char* const text : {"jdoe@contoso.com", "J.Doe+x%y_z-1@SUB.CONTOSO.COM", "1@2.xy"})
        QVERIFY2(isEmail(text), text);
    for (const char* const text :
         {"", "jdoe", "jdoe@host", "jdoe@contoso.c", "jdoe@contoso.c0m", "@contoso.com",
          "a@b@c.com", "j doe@contoso.com", " jdoe@contoso.com", "o'brien@contoso.com",
          "a\\jdoe@contoso.com"})
        QVERIFY2(!isEmail(text), text);
}

void TestIdentity::names_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("found");        // in the directory, for the UPN
    QTest::addColumn<QStringList>("expected"); // user name, domain, e-mail
    const auto row = [](const QString& user, const QString& directory, const QString& found,
                        const QStringList& expected) {
        QTest::addRow("%s, %s", qPrintable(user), qPrintable(directory + ' ' + found))
            << user << directory << found << expected;
    };
    const QString mail = "jdoe@contoso.com";
    row("CONTOSO\\jdoe", "CORP", "", {"jdoe", "CONTOSO", ""});
    row("jdoe", "", "", {"jdoe", "PC1", ""});
    row("jdoe", "CORP", "", {"jdoe", "CORP", ""});
    row(".\\jdoe", "CORP", "", {"jdoe", ".", ""});
    row("CONTOSO\\", "", "", {"", "CONTOSO", ""});
    row("A\\B\\jdoe", "", "", {"jdoe", "A", ""});
    row(mail, "", "", {"jdoe", "contoso.com", mail});
    row(mail, "CORP", "", {"jdoe", "contoso.com", mail});
    row(mail, "CORP", "doej", {"doej", "CORP", mail});
    row(mail, "CORP", "failed", {"jdoe", "contoso.com", mail});
    row("CONTOSO\\" + mail, "CORP", "doej", {"doej", "CONTOSO", mail});
    row("AzureAD\\" + mail, "CORP", "", {"jdoe", "contoso.com", mail});
    row("AzureAD\\" + mail, "CORP", "doej", {"doej", "AzureAD", mail});
}

void TestIdentity::names()
{
    QFETCH(QString, user);
    QFETCH(QString, directory);
    QFETCH(QString, found);
    Machine machine(directory);
    const QString command = kUserOfUpn.arg(user.section('\\', -1));
    if (found != "failed")
        machine.answers[command] = found;
    const Identity identity = machine.resolver().resolve({.user = user, .ip = "10.0.0.5"});
    QTEST((QStringList{identity.userName, identity.domain, identity.userEmail}), "expected");
    const bool asked = user.contains("contoso.com") && !directory.isEmpty();
    QCOMPARE(machine.commands, asked ? QStringList(command) : QStringList());
    QCOMPARE(identity.user, user);
    QCOMPARE(identity.ip, QString("10.0.0.5"));
    QVERIFY(identity.rdpMode);
}

void TestIdentity::directoryAndLocalLookups_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("answer"); // "failed": the command fails
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("line"); // the last of the log
    const QString mail = "J.Doe@CONTOSO.COM";
    const QString failed = "failed";
    const auto row = [](const char* name, const QString& command, const QString& answer,
                        const QString& result, const QString& line) {
        QTest::newRow(name) << QString(command).replace("%1", "jdoe") << answer << result << line;
    };
    row("user found", kUserOfUpn, "doej", "doej", "Found user: doej");
    row("user failed", kUserOfUpn, failed, "", "[Error] Failed to find username by UPN");
    row("UPN found", kUpnOf, mail, mail, "[GetUPN] Found UPN: " + mail);
    row("UPN no e-mail", kUpnOf, "jdoe@host", "", "[Verbose 2] [GetUPN] output: jdoe@host");
    row("UPN not asked", "", "UPN", "",
        "[Warning] [GetUPN] Active Directory has not been detected on this machine. We recommend "
        "disabling the Active Directory-related options in Windows Registry.");
    row("UPN failed", kUpnOf, failed, "",
        "[Error] [GetUPN] Failed to get an UPN from Active Directory");
    row("mail found", kMailOf, mail, mail, "[GetUserEmail] Found user email: " + mail);
    row("mail failed", kMailOf, failed, "",
        "[Error] [GetUserEmail] Failed to get an email address from Active Directory");
    row("local found", kLocalMailOf, mail, mail, "[GetUserEmail] Found local user email: " + mail);
    row("local no e-mail", kLocalMailOf, "The boss", "",
        "[Verbose 1] [GetUserEmail] No local email found, which means that a local email is either "
        "invalid or not defined for the user");
}

void TestIdentity::directoryAndLocalLookups()
{
    QFETCH(QString, command);
    QFETCH(QString, answer);
    Machine machine(command.isEmpty() ? "" : "CORP");
    if (answer != "failed")
        machine.answers[command] = answer;
    IdentityResolver resolver = machine.resolver();
    const QByteArray lookup = QByteArray(QTest::currentDataTag()).split(' ').first();
    QTEST(lookup == "user"   ? resolver.findUsernameByUpn("jdoe")
          : lookup == "UPN"  ? resolver.getUpn("jdoe")
          : lookup == "mail" ? resolver.getEmailFromDirectory("jdoe")
                             : resolver.getLocalUserEmail("jdoe@home@here"),
          "result");
    QCOMPARE(machine.commands.join(' '), command);
    QTEST(m_state.takeLog().last(), "line");
}

void TestIdentity::cachedUpn()
{
    const QString upn = "jdoe@contoso.com";
    for (const QString answer : {"doej", "", "failed"}) {
        Machine machine("CORP");
        if (answer != "failed")
            machine.answers[kUserOfUpn.arg(upn)] = answer;
        IdentityResolver resolver = machine.resolver();
        resolver.findUsernameByUpn(upn);
        m_state.takeLog();
        QCOMPARE(resolver.getUpn("doej"), answer == "failed" ? QString() : upn);
        QCOMPARE(m_state.takeLog().contains("[GetUPN] UPN found in cache: " + upn),
                 answer != "failed");
        // Nothing of it for the next sign-in.
        QCOMPARE(machine.resolver().getUpn("doej"), QString());
    }
}

void TestIdentity::unsafeNames()
{
    const auto commandsFor = [](const QString& name, bool local) {
        Machine machine("CORP");
        if (local)
            machine.resolver().getLocalUserEmail(name);
        else
            machine.resolver().getUpn(name);
        return machine.commands;
    };
    const QString refusal = "[Warning] Name not looked up, it holds a character that would change "
                            "the command: a";
    const auto verifyRefused = [&](const QString& characters, bool local) {
        for (const QChar character : characters) {
            QCOMPARE(commandsFor(QString("a") + character, local), QStringList());
            QCOMPARE(m_state.takeLog().filter(refusal).size(), 1);
        }
    };
    verifyRefused(QStringLiteral("\"\u201c\u201d\u201e`$()*\\\n\u0001"), false);
    verifyRefused(QStringLiteral("'\u2018\u2019\u201a\u201b\"*?[]`\n"), true);
    // Harmless between double quotes, between single quotes, everywhere.
    QCOMPARE(commandsFor("O'Brien", false), QStringList(kUpnOf.arg("O'Brien")));
    QCOMPARE(commandsFor("J $1 (Home)", true), QStringList(kLocalMailOf.arg("J $1 (Home)")));
    for (const bool local : {true, false})
        QCOMPARE(commandsFor(QStringLiteral("Jürgen & Łucja %2"), local).size(), 1);
}

void TestIdentity::emailForSendUpn_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("known"); // whose look-ups find an address
    QTest::addColumn<QString>("email");
    QTest::addColumn<QStringList>("commands");
    const QString upn = kUpnOf.arg("jdoe");
    const QString mail = kMailOf.arg("jdoe");
    const QString local = kLocalMailOf.arg("jdoe");
    const auto row = [](const QString& user, const QString& known, const QString& email,
                        const QStringList& commands) {
        QTest::addRow("%s, %s", qPrintable(user), qPrintable(known))
            << user << known << email << commands;
    };
    row("CORP\\jdoe", "upn mail gcpw live local", "upn@x.yz", {upn});
    row("CORP\\jdoe", "mail gcpw live local", "mail@x.yz", {upn, mail});
    row("CORP\\jdoe", "gcpw live local", "", {upn, mail});
    row("pc1\\jdoe", "upn mail gcpw live local", "gcpw@x.yz", {});
    row("pc1\\jdoe", "upn mail live local", "live@x.yz", {});
    row("pc1\\jdoe", "upn mail local", "local@x.yz", {local});
    row("PC1\\jdoe", "upn mail", "", {local});
    row("x@y.zz", "upn mail gcpw live local", "x@y.zz", {kUserOfUpn.arg("x@y.zz")});
}

void TestIdentity::emailForSendUpn()
{
    QFETCH(QString, user);
    QFETCH(QString, known);
    QFETCH(QStringList, commands);
    const auto answer = [&known](const QString& lookup) {
        return known.split(' ').contains(lookup) ? lookup + "@x.yz" : "no address";
    };
    Machine machine("CORP");
    machine.answers = {{kUpnOf.arg("jdoe"), answer("upn")},
                       {kMailOf.arg("jdoe"), answer("mail")},
                       {kLocalMailOf.arg("jdoe"), answer("local")}};
    RegistryKey(kGcpw).writeString("email", answer("gcpw"));
    RegistryKey(kMicrosoft + answer("live")).writeNumber("x", 1);
    mainKey().writeNumber("sendUPN", 1);
    const LogonInput input{.user = user, .sid = "S-1-7"};
    QTEST(machine.resolver().resolve(input).userEmail, "email");
    QCOMPARE(machine.commands, commands);
    QCOMPARE(machine.ownThread, user.contains('@') ? 1 : 0);

    mainKey().writeNumber("sendUPN", 0);
    machine.commands.clear();
    QCOMPARE(machine.resolver().resolve(input).userEmail, user.contains('@') ? user : "");
    QCOMPARE(machine.commands.size(), user.contains('@') ? 1 : 0);
}

void TestIdentity::nameToSend_data()
{
    QTest::addColumn<QString>("settings"); // sendUPN and sendNTLM, "-" for an absent one
    QTest::addColumn<Identity>("identity");
    QTest::addColumn<QString>("sent");
    QTest::addColumn<QStringList>("log");
    const auto row = [](const char* settings, const QString& domain, const QString& email,
                        const QString& sent, const QStringList& log = {}) {
        const Identity identity{"CORP\\x", "jdoe", domain, email, "::1", true};
        QTest::addRow("%s, %s, %s", settings, qPrintable(domain), qPrintable(email))
            << settings << identity << sent << log;
    };
    const QString mail = "j@x.yz";
    const QString both = "[Verbose 1] [Warning] Both 'sendUPN' and 'sendNTLM' options are defined, "
                         "only 'sendUPN' will be used";
    for (const char* const settings : {"--", "0-", "-1", "01"})
        row(settings, "CORP", mail, "CORP\\jdoe");
    row("--", "", mail, "jdoe");
    row("--", ".", mail, "jdoe");
    row("-0", "CORP", mail, "jdoe");
    row("1-", "CORP", mail, mail, {both});
    row("10", "CORP", mail, mail);
    row("10", "CORP", "", "none");
}

void TestIdentity::nameToSend()
{
    QFETCH(QString, settings);
    QFETCH(Identity, identity);
    if (settings[0] != '-')
        mainKey().writeNumber("sendUPN", settings[0] == '1');
    if (settings[1] != '-')
        mainKey().writeNumber("sendNTLM", settings[1] == '1');
    QTEST(IdentityResolver::nameToSend(identity).value_or("none"), "sent");
    QTEST(m_state.takeLog(), "log");
}

QTEST_GUILESS_MAIN(TestIdentity)

#include "tst_identity.moc"

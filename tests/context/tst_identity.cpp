#include "context/identity.h"
#include "core/process_state.h"

#include <QtTest>

using namespace korvex;
using platform::RegistryKey;

namespace {

const QString kMail = "jdoe@contoso.com";
const QString kGcpwUsers = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Google\\GCPW\\Users\\";
const QString kMicrosoft =
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Authentication\\"
    "Credential Providers\\{D6886603-9D2F-4EB2-B667-1971041FA96B}\\S-1-7\\UserNames\\";

// The argument strings of PowerShell, not as raw literals, which moc misreads.

QString search(const QString& by, const QString& name, const QString& property)
{
    return QString(
               "-NoProfile -Command \"([adsisearcher]\\\"(%1=%2)\\\").FindOne().Properties.%3\"")
        .arg(by, name, property);
}

const QString kDescription = "-NoProfile -Command \"(Get-LocalUser -Name '%1').Description\"";

const QMap<QString, QString> kQuestions = {
    {"user", search("userprincipalname", kMail, "samaccountname")},
    {"upn", search("samaccountname", "jdoe", "userprincipalname")},
    {"mail", search("samaccountname", "jdoe", "mail")},
    {"local", kDescription.arg("jdoe")}};

/// A machine named PC1.
struct Machine
{
    QString directory;
    QMap<QString, QString> answers{}; ///< to the questions above; PowerShell fails for all others
    QStringList asked{};              ///< those questions, or the arguments of another one

    IdentityResolver resolver()
    {
        return IdentityResolver(
            {[this] { return directory; }, [] { return QString("PC1"); }},
            [this](const QString& program, const QString& arguments, QString& output, QString&) {
                const QString question = kQuestions.key(arguments, arguments);
                asked << (program == "PowerShell" ? question : program);
                output = answers.value(question);
                return answers.contains(question);
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
    void resolved_data();
    void resolved();
    void cachedUpn();
    void unsafeNames();
    void nameToSend();

private:
    test::ProcessState m_state;
};

void TestIdentity::emails()
{
    for (const char* const text : {"J.Doe+x%y_z-1@SUB.CONTOSO.COM", "1@2.xy"})
        QVERIFY2(isEmail(text), text);
    for (const char* const text : {"jdoe@host", "jdoe@contoso.c", "jdoe@contoso.c0m",
                                   "@contoso.com", "a@b@c.com", "a\\jdoe@contoso.com"})
        QVERIFY2(!isEmail(text), text);
}

void TestIdentity::resolved_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("known");        // the lookups that find something; "!" for a failure
    QTest::addColumn<QStringList>("expected"); // user name, domain, e-mail address
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QString>("line"); // a part of the log
    const auto row = [](const QString& user, const QString& directory, const QString& known,
                        const QStringList& expected, const QString& asked, const QString& line) {
        QTest::addRow("%s, %s, %s", qPrintable(user), qPrintable(directory), qPrintable(known))
            << user << directory << known << expected << asked << line;
    };
    const QString all = "upn mail gcpw live local";
    row("CONTOSO\\jdoe", "CORP", all, {"jdoe", "CONTOSO", "upn@x.yz"}, "upn", "Found UPN: upn@");
    row("jdoe", "CORP", "mail gcpw live local", {"jdoe", "CORP", "mail@x.yz"}, "upn mail",
        "Found user email: mail@");
    row(".\\jdoe", "CORP", "gcpw live local", {"jdoe", ".", ""}, "upn mail",
        "[Verbose 2] [GetUserEmail] output: no address");
    row("CORP\\jdoe", "CORP", "!upn !mail", {"jdoe", "CORP", ""}, "upn mail",
        "[Error] [GetUserEmail] Failed to get");
    row("A\\B\\jdoe", "", all, {"jdoe", "A", ""}, "",
        "[Warning] [GetUPN] Active Directory has not");
    row("jdoe", "", all, {"jdoe", "PC1", "gcpw@x.yz"}, "", "Found GCPW");
    row("pc1\\jdoe", "CORP", "upn live local", {"jdoe", "pc1", "live@x.yz"}, "", "MicrosoftLive");
    row("PC1\\jdoe@home", "CORP", "upn local", {"jdoe@home", "PC1", "local@x.yz"}, "local",
        "Found local user email: local@");
    row("PC1\\jdoe", "CORP", "upn mail", {"jdoe", "PC1", ""}, "local", "No local email found");
    row(kMail, "", all, {"jdoe", "contoso.com", kMail}, "", "Username not found");
    row(kMail, "CORP", all, {"jdoe", "contoso.com", kMail}, "user", "Username not found");
    row(kMail, "CORP", "user", {"doej", "CORP", kMail}, "user", "Found user: doej");
    row(kMail, "CORP", "!user", {"jdoe", "contoso.com", kMail}, "user", "[Error] Failed to find");
    row("A\\" + kMail, "CORP", "", {"jdoe", "A", kMail}, "user", "");
    row("AzureAD\\" + kMail, "CORP", "", {"jdoe", "contoso.com", kMail}, "user", "");
    row("AzureAD\\" + kMail, "CORP", "user", {"doej", "AzureAD", kMail}, "user", "");
}

void TestIdentity::resolved()
{
    QFETCH(QString, user);
    QFETCH(QString, directory);
    QFETCH(QString, known);
    QFETCH(QString, line);
    const QStringList lookups = known.split(' ');
    const auto answer = [&lookups](const QString& lookup) {
        return lookups.contains(lookup) ? lookup + "@x.yz" : "no address";
    };
    Machine machine{directory};
    for (const QString lookup : {"upn", "mail", "local"})
        if (!lookups.contains('!' + lookup))
            machine.answers[lookup] = answer(lookup);
    if (!lookups.contains("!user"))
        machine.answers["user"] = lookups.contains("user") ? "doej" : "";
    RegistryKey(kGcpwUsers + "S-1-7").writeString("email", answer("gcpw"));
    RegistryKey(kMicrosoft + answer("live")).writeNumber("x", 1);
    RegistryKey(kGcpwUsers).writeString("email", kMail); // where an empty SID would lead
    QCOMPARE(IdentityResolver::getGcpwEmail(""), QString());
    const LogonInput input{.user = user, .sid = "S-1-7"};

    mainKey().writeNumber("sendUPN", 1);
    const Identity identity = machine.resolver().resolve(input);
    QTEST((QStringList{identity.userName, identity.domain, identity.userEmail}), "expected");
    QTEST(machine.asked.join(' '), "asked");
    const QString log = m_state.takeLog().join('\n');
    QVERIFY2(log.contains(line), qPrintable(log));

    mainKey().writeNumber("sendUPN", 0);
    QCOMPARE(machine.resolver().resolve(input).userEmail, user.contains(kMail) ? kMail : "");
}

void TestIdentity::cachedUpn()
{
    Machine machine{"CORP"};
    for (const QString answer : {"failed", "", "doej"}) {
        IdentityResolver resolver = machine.resolver();
        if (answer != "failed")
            machine.answers["user"] = answer;
        resolver.findUsernameByUpn(kMail);
        QCOMPARE(resolver.getUpn("doej"), answer == "failed" ? "" : kMail);
    }
}

void TestIdentity::unsafeNames()
{
    const QString ofSearch = QStringLiteral("\"\u201c\u201d\u201e`$\n\u0001");
    const QString ofName = QStringLiteral("'\u2018\u2019\u201a\u201b\"*?[]`\n");
    for (const bool local : {false, true}) {
        const auto asked = [local](const QString& name) {
            Machine machine{"CORP"};
            IdentityResolver resolver = machine.resolver();
            local ? resolver.getLocalUserEmail(name) : resolver.getUpn(name);
            return machine.asked.join('|');
        };
        for (const QChar character : local ? ofName : ofSearch)
            QCOMPARE(asked(QString("a") + character), QString());
        // Harmless between the quotes of this command.
        const QString name = QStringLiteral("Łucja & %2 ") + (local ? "$1 (Home)" : "O'Brien");
        QCOMPARE(asked(name), local ? kDescription.arg(name)
                                    : search("samaccountname", name, "userprincipalname"));
    }
    // RFC 4515: what has a meaning in a search filter is escaped.
    Machine machine{"CORP"};
    machine.resolver().getUpn("a(b)*\\c");
    QCOMPARE(machine.asked.join('|'),
             search("samaccountname", "a\\28b\\29\\2a\\5cc", "userprincipalname"));
    QCOMPARE(m_state.takeLog().filter("[Warning] Name not looked up, it holds ").size(),
             ofSearch.size() + ofName.size());
}

void TestIdentity::nameToSend()
{
    // sendUPN and sendNTLM, domain, e-mail address, what is sent
    for (const QStringList& row : QVector<QStringList>{{"01", "CORP", kMail, "CORP\\jdoe"},
                                                       {"01", "", kMail, "jdoe"},
                                                       {"01", ".", kMail, "jdoe"},
                                                       {"00", "CORP", kMail, "jdoe"},
                                                       {"11", "CORP", kMail, kMail},
                                                       {"10", "CORP", kMail, kMail},
                                                       {"10", "CORP", "", "none"}}) {
        mainKey().writeNumber("sendUPN", row[0][0] == '1');
        mainKey().writeNumber("sendNTLM", row[0][1] == '1');
        const Identity identity{"CORP\\x", "jdoe", row[1], row[2], "::1", true};
        QCOMPARE(IdentityResolver::nameToSend(identity).value_or("none"), row[3]);
        QCOMPARE(m_state.takeLog().filter("only 'sendUPN' will be used").size(),
                 int(row[0] == "11"));
    }
}

QTEST_GUILESS_MAIN(TestIdentity)

#include "tst_identity.moc"

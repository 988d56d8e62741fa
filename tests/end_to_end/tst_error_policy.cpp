#include "end_to_end/sign_in_rig.h"

#include <QTest>

using korvex::mfa_service::Behaviour;
using korvex::test::Outcome;
using korvex::test::SignInRig;
using Kind = Behaviour::Kind;

Q_DECLARE_METATYPE(Behaviour)

namespace {

const QString kInit = QStringLiteral("/api/transaction/init");
const QString kCredentials = QStringLiteral("/api/transaction/credentials");

const QString kNoBox;
const QString kRefusedBox =
    QStringLiteral("[MessageBox] Access Denied!, Incorrect Korvex API request.");
const QString kCredentialsBox = QStringLiteral("[MessageBox] Incorrect Korvex API credentials.");

const QString kException = QStringLiteral("Korvex server response exception");
const QString kBypass = QStringLiteral("Korvex server response bypass");
const QString kUnexpected =
    QStringLiteral("Unexpected response received. Are you using API credentials dedicated for "
                   "Windows Logon & RDP application?");
const QString kUnsupported = QStringLiteral("Korvex server unsupported failure response");
const QString kFailModeBypass =
    QStringLiteral("No or invalid response from Korvex API! FailMode bypass");
const QString kFailModeDeny =
    QStringLiteral("No or invalid response from Korvex API! FailMode deny");
const QString kBroken = QStringLiteral("Broken error logic. Contact with Korvex team");

} // namespace

/// What each failure of a request leads to, seen from outside.
class TestErrorPolicy : public QObject
{
    Q_OBJECT

private slots:
    void failedRequest_data();
    void failedRequest();
};

void TestErrorPolicy::failedRequest_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<Behaviour>("behaviour");
    QTest::addColumn<QString>("failMode");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("box");
    QTest::addColumn<int>("verdict");
    QTest::addColumn<QString>("reason");

    struct Row
    {
        const char* name;
        Behaviour behaviour;
        int code;
        QString box;
        int verdict;
        QString reason;
        QString failMode = QStringLiteral("deny");
        QString path = kInit;
    };
    const Row rows[] = {
        {"wrong signature", {Kind::WrongSignature}, 9, kRefusedBox, 0, kException},
        {"missing signature", {Kind::MissingSignature}, 9, kRefusedBox, 0, kException},
        {"upper-case signature", {Kind::UpperCaseSignature}, 9, kRefusedBox, 0, kException},
        {"redirect", {Kind::Redirect}, 9, kRefusedBox, 0, kException, "bypass"},
        {"unsigned bypass", {Kind::UnsignedUserBypassedException, 45}, 45, kNoBox, 1, kBypass},
        {"code 9", {Kind::EnvelopeError, 9}, 9, kRefusedBox, 0, kException, "bypass"},
        {"code 10", {Kind::EnvelopeError, 10}, 10, kCredentialsBox, 1, kException},
        {"code 11", {Kind::EnvelopeError, 11}, 11, kNoBox, 1, kBroken},
        {"code 45", {Kind::EnvelopeError, 45}, 45, kNoBox, 1, kBypass},
        {"code 81", {Kind::EnvelopeError, 81}, 81, kNoBox, 1, kUnexpected},
        {"code 82", {Kind::EnvelopeError, 82}, 82, kNoBox, 1, kUnexpected},
        {"code 83", {Kind::EnvelopeError, 83}, 83, kNoBox, 1, kUnexpected},
        {"code 84", {Kind::EnvelopeError, 84}, 84, kNoBox, 1, kUnexpected},
        {"unknown code", {Kind::EnvelopeError, 77}, 1000, kNoBox, 0, kUnsupported, "bypass"},
        {"empty result", {Kind::EmptyResult}, 1000, kNoBox, 0, kUnsupported, "bypass"},
        {"not JSON", {Kind::NotJson}, 1003, kNoBox, 1, kUnexpected},
        {"JSON array", {Kind::JsonArray}, 1003, kNoBox, 1, kUnexpected},
        {"404", {Kind::Status404}, 1002, kNoBox, 0, kFailModeDeny},
        {"404, bypass", {Kind::Status404}, 1002, kNoBox, 1, kFailModeBypass, "bypass"},
        {"500", {Kind::Status500}, 1001, kNoBox, 0, kFailModeDeny},
        {"500, bypass", {Kind::Status500}, 1001, kNoBox, 1, kFailModeBypass, "bypass"},
        {"500, Bypass", {Kind::Status500}, 1001, kNoBox, 0, kFailModeDeny, "Bypass"},
        {"cut short", {Kind::CutShort}, 1002, kNoBox, 0, kFailModeDeny},
        {"endless slow body", {Kind::EndlessSlowBody}, 1002, kNoBox, 0, kFailModeDeny},
        {"64 MiB body", {Kind::HugeBody}, 1002, kNoBox, 0, kFailModeDeny},
        {"hang", {Kind::Hang}, 1002, kNoBox, 0, kFailModeDeny},
        {"credentials: signature",
         {Kind::WrongSignature},
         9,
         kRefusedBox,
         0,
         kException,
         "deny",
         kCredentials},
        {"credentials: code 10",
         {Kind::EnvelopeError, 10},
         10,
         kCredentialsBox,
         1,
         kException,
         "deny",
         kCredentials},
        {"credentials: hang", {Kind::Hang}, 1002, kNoBox, 0, kFailModeDeny, "deny", kCredentials},
    };
    for (const Row& row : rows)
        QTest::newRow(row.name) << row.path << row.behaviour << row.failMode << row.code << row.box
                                << row.verdict << row.reason;
}

void TestErrorPolicy::failedRequest()
{
    QFETCH(QString, path);
    QFETCH(Behaviour, behaviour);
    QFETCH(QString, failMode);
    QFETCH(int, code);
    QFETCH(QString, box);
    QFETCH(int, verdict);
    QFETCH(QString, reason);

    SignInRig rig;
    rig.set(QStringLiteral("FailMode"), failMode);
    rig.set(QStringLiteral("RequestTimeout"), 1500);
    rig.service().setBehaviour(path, behaviour);
    const Outcome outcome = rig.signIn();

    QCOMPARE(outcome.verdicts, QVector<int>{verdict});
    QCOMPARE(outcome.lastVerdict(),
             (verdict == 1 ? QStringLiteral("granted: ") : QStringLiteral("denied: ")) + reason);
    QCOMPARE(outcome.boxesDismissed, box.isEmpty() ? 0 : 1);
    const QStringList warnings = outcome.log.filter(QStringLiteral("Transaction::handlePostError"));
    QCOMPARE(warnings.size(), 1);
    QVERIFY(warnings.first().startsWith(
        QStringLiteral("[Verbose 1] [Warning] Transaction::handlePostError code: %1, error: '")
            .arg(code)));
    QCOMPARE(outcome.log.filter(QStringLiteral("[MessageBox]")),
             box.isEmpty() ? QStringList() : QStringList{box});
    QCOMPARE(outcome.log.filter(QStringLiteral("User access")).size(), 1);
    // A denied sign-in goes no further.
    QCOMPARE(rig.service().waitForRequest(kCredentials, {}), path == kCredentials);
}

QTEST_GUILESS_MAIN(TestErrorPolicy)
#include "tst_error_policy.moc"

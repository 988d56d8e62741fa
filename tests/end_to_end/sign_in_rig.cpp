#include "end_to_end/sign_in_rig.h"

#include "core/settings.h"
#include "platform/paths.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <unistd.h>

namespace korvex::test {

namespace {

constexpr int kRunTimeout = 60000; // milliseconds
constexpr char kSubmit[] =
    "fetch(location.pathname + '/code', {method: 'POST', body: JSON.stringify({code: 'CODE'}),"
    " headers: {'Content-Type': 'application/json'}}).then(a => a.json())"
    ".then(a => { document.title = JSON.stringify({token: a.accessToken}); })";

QVector<int> verdictsIn(const QByteArray& output)
{
    QVector<int> verdicts;
    for (const QByteArray& line : output.split('\n'))
        if (line.startsWith("verdict: "))
            verdicts << line.mid(9).toInt();
    return verdicts;
}

} // namespace

QString Outcome::lastVerdict() const
{
    static const QRegularExpression line("^User access (granted|denied), reason: (.*)$");
    for (auto message = log.crbegin(); message != log.crend(); ++message)
        if (const auto match = line.match(*message); match.hasMatch())
            return match.captured(1) + ": " + match.captured(2);
    return {};
}

SignInRig::SignInRig()
{
    mfa_service::ServiceOptions options;
    options.systemToken = "system-token";
    options.secretKey = "secret-key";
    options.codeReady = [this](const QString&, const QString& code) {
        const std::lock_guard lock(m_mutex);
        m_code = code;
        QString script = m_script;
        if (!script.isEmpty())
            m_service->setPage(
                QStringLiteral("<!doctype html><meta charset=utf-8><title>Sign in</title>"
                               "<style>body { margin: 0 }</style><div class=panel "
                               "style='width: 300px; height: 200px'>Test</div><script>%1</script>")
                    .arg(script.replace("SUBMIT", kSubmit).replace("CODE", code))
                    .toUtf8());
    };
    m_service = std::make_unique<mfa_service::MfaService>(options);
    if (const auto started = m_service->start(); !started)
        qFatal("%s", qPrintable(started.error()));
    showScript("SUBMIT");

    QDir().mkpath(platform::installDirectory());
    set("systemToken", options.systemToken);
    set("SecretKey", options.secretKey);
    set("korvexApiServer", m_service->baseUrl());
    set("FailMode", "deny");
    set("debugMode", 3);
    set("RevokeRememberDevicePolicy", 0); // asks services on the internet
}

void SignInRig::set(const QString& name, const QString& value)
{
    if (!mainKey().writeString(name, value))
        qFatal("cannot write %s", qPrintable(name));
}

void SignInRig::set(const QString& name, qint32 value)
{
    if (!mainKey().writeNumber(name, value))
        qFatal("cannot write %s", qPrintable(name));
}

void SignInRig::showRealPage()
{
    const std::lock_guard lock(m_mutex);
    m_script.clear();
    m_service->setPage({});
}

void SignInRig::showScript(const QString& script)
{
    const std::lock_guard lock(m_mutex);
    m_script = script;
}

QString SignInRig::code() const
{
    const std::lock_guard lock(m_mutex);
    return m_code;
}

Outcome SignInRig::run(const QStringList& arguments, const std::function<bool()>& meanwhile)
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert("DISPLAY", m_display.name());
    variables.remove("QT_QPA_PLATFORM");
    // The web engine's sandbox cannot run as root, and the engine keeps files in the home folder.
    if (::geteuid() == 0)
        variables.insert("QTWEBENGINE_DISABLE_SANDBOX", "1");
    variables.insert("HOME", m_root.path());
    variables.insert("XDG_RUNTIME_DIR", m_root.path());
    variables.insert("LANGUAGE", "en_US");
    for (auto entry = environment.cbegin(); entry != environment.cend(); ++entry)
        variables.insert(entry.key(), entry.value());

    const int before = m_root.logMessages().size();
    Outcome outcome;
    int boxAt = -1;
    const auto dismissBox = [&] {
        const QStringList messages = m_root.logMessages().mid(before);
        if (messages.isEmpty() || !messages.last().startsWith("[MessageBox]") ||
            !m_display.hasVisibleWindow())
            return;
        outcome.boxesDismissed += messages.size() != boxAt ? 1 : 0;
        boxAt = messages.size();
        m_display.press("Return");
    };
    bool done = !meanwhile;
    QProcess host;
    host.setProcessEnvironment(variables);
    host.setProcessChannelMode(QProcess::MergedChannels);
    QStringList command = m_wrapper + QStringList{KORVEX_SIGNIN_HOST} + arguments;
    const QString program = command.takeFirst();
    host.start(program, command);
    QElapsedTimer time;
    time.start();
    while (!host.waitForFinished(50) && host.state() != QProcess::NotRunning) {
        dismissBox();
        done = done || meanwhile();
        if (time.elapsed() > kRunTimeout) {
            qWarning("the host did not end; its log:\n%s",
                     qPrintable(m_root.logMessages().mid(before).join('\n')));
            host.kill();
            host.waitForFinished(5000);
        }
    }

    outcome.output = host.readAll();
    if (host.exitStatus() == QProcess::NormalExit)
        outcome.exitCode = host.exitCode();
    else
        qWarning("the host crashed; its output:\n%s", outcome.output.constData());
    outcome.log = m_root.logMessages().mid(before);
    outcome.verdicts = verdictsIn(outcome.output);
    return outcome;
}

Outcome SignInRig::signIn(const QString& user, const std::function<bool()>& meanwhile)
{
    return run({QStringLiteral("{\"user\":\"%1\",\"ip\":\"\"}").arg(user)}, meanwhile);
}

QByteArrayList SignInRig::bodiesOf(const QString& route) const
{
    QByteArrayList bodies;
    for (const auto& request : m_service->requests())
        if (request.route() == route)
            bodies << request.body;
    return bodies;
}

} // namespace korvex::test

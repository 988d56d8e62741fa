#include "mfa_service.h"
#include "recovery_code.h"
#include "totp.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <thread>

using namespace korvex::mfa_service;

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr qint64 kMaximumFile = qint64{16} << 20;

std::atomic<bool> endRequested = false;
static_assert(std::atomic<bool>::is_always_lock_free, "written by a signal handler");

void print(FILE* stream, QString line)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    // Names come from outside: remove their line breaks and terminal commands.
    std::replace_if(
        line.begin(), line.end(), [](QChar each) { return !each.isPrint(); }, QLatin1Char('?'));
    std::fputs(qPrintable(line + '\n'), stream);
    std::fflush(stream);
}

int wrongUsage(const QString& reason)
{
    print(stderr, "korvex-mfa-service: " + reason);
    print(stderr, "Try --help.");
    return kWrongUsage;
}

struct Options
{
    QCommandLineOption port{"port", "Port on 127.0.0.1 (any free one).", "number", "0"};
    QCommandLineOption https{"https", "Serve HTTPS with a new self-signed certificate."};
    QCommandLineOption certificateOut{"certificate-out", "Write that certificate here (PEM).",
                                      "file"};
    QCommandLineOption systemToken{"system-token", "The system token to accept.", "text"};
    QCommandLineOption secretKey{"secret-key", "The key that requests and answers are signed with.",
                                 "text"};
    QCommandLineOption company{"company", "Name of the company.", "name", "Example Company"};
    QCommandLineOption companyLogo{"company-logo", "The company's logo (an own one).", "file"};
    QCommandLineOption tellRecoveryCode{
        "tell-recovery-code",
        "As a help desk does: tell the recovery code in the registry value RecoveryCode, and end.",
        "base64"};
    QCommandLineOption recoveryPrivateKey{
        "recovery-private-key", "The key for that (the development key).", "file",
        ":/korvex/mfa_service/development_recovery_private_key.pem"};
    QCommandLineOption user{"user",
                            "A user and his TOTP secret; may be repeated. Without any, every name "
                            "is accepted with a secret of its own.",
                            "name=base32"};
    QCommandLineOption misbehave{
        "misbehave",
        "Answer wrongly on a path, \"/signin\" being the page; may be repeated. Names: " +
            behaviourNames().join(", ") + ".",
        "path=name[:code]"};
};

/// Applies the repeatable options; the reason when one of them is wrong.
std::expected<void, QString> applyLists(MfaService& service, const QStringList& users,
                                        const QStringList& misbehaviours)
{
    for (const QString& text : users) {
        const auto secret = decodeBase32(text.section('=', 1));
        if (text.section('=', 0, 0).isEmpty() || !secret)
            return std::unexpected("--user wants NAME=SECRET with the secret in Base32");
        service.addUser(text.section('=', 0, 0), *secret);
    }
    for (const QString& text : misbehaviours) {
        const auto behaviour = parseBehaviour(text.section('=', 1));
        if (!text.startsWith('/') || !behaviour)
            return std::unexpected("--misbehave wants PATH=NAME[:CODE], but got " + text);
        service.setBehaviour(text.section('=', 0, 0), *behaviour);
    }
    return {};
}

std::optional<QByteArray> readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        print(stderr, "korvex-mfa-service: cannot read " + path + ": " + file.errorString());
        return std::nullopt;
    }
    const QByteArray content = file.read(kMaximumFile + 1);
    if (content.size() <= kMaximumFile)
        return content;
    print(stderr, "korvex-mfa-service: " + path + " is too large");
    return std::nullopt;
}

bool writeFile(const QString& path, const QByteArray& content)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() &&
           file.commit();
}

int tellCode(const QString& stored, const QString& keyPath)
{
    const auto key = readFile(keyPath);
    if (!key)
        return kFailed;
    const auto code = tellRecoveryCode(stored, *key);
    print(code ? stdout : stderr, code ? *code : "korvex-mfa-service: " + code.error());
    return code ? 0 : kFailed;
}

int serve(MfaService& service, const QString& certificatePath)
{
    if (const auto started = service.start(); !started) {
        print(stderr, "korvex-mfa-service: " + started.error());
        return kFailed;
    }
    if (!certificatePath.isEmpty() && !writeFile(certificatePath, service.certificatePem())) {
        print(stderr, "korvex-mfa-service: cannot write " + certificatePath);
        return kFailed;
    }
    print(stdout, "listening on " + service.baseUrl());
    // A signal handler may do no more than set a flag, on every system.
    while (!endRequested)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    service.stop();
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    Q_INIT_RESOURCE(mfa_service);
    std::signal(SIGINT, [](int) { endRequested = true; });
    std::signal(SIGTERM, [](int) { endRequested = true; });

    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(KORVEX_VERSION);
    const Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription("The reference MFA service, for development and evaluation.");
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions({options.port, options.https, options.certificateOut, options.systemToken,
                       options.secretKey, options.company, options.companyLogo, options.user,
                       options.misbehave, options.tellRecoveryCode, options.recoveryPrivateKey});
    if (!parser.parse(QCoreApplication::arguments()))
        return wrongUsage(parser.errorText());
    if (parser.isSet(help))
        parser.showHelp();
    if (parser.isSet(version))
        parser.showVersion();
    bool isPort = false;
    const quint16 port = parser.value(options.port).toUShort(&isPort);
    if (!parser.positionalArguments().isEmpty())
        return wrongUsage("unexpected argument " + parser.positionalArguments().constFirst());
    if (parser.isSet(options.tellRecoveryCode)) {
        return tellCode(parser.value(options.tellRecoveryCode),
                        parser.value(options.recoveryPrivateKey));
    }
    if (!isPort)
        return wrongUsage("--port wants a number from 0 to 65535");
    if (parser.value(options.systemToken).isEmpty() || parser.value(options.secretKey).isEmpty())
        return wrongUsage("--system-token and --secret-key are required");
    if (parser.isSet(options.certificateOut) && !parser.isSet(options.https))
        return wrongUsage("--certificate-out needs --https");

    QByteArray companyLogo;
    if (parser.isSet(options.companyLogo)) {
        const auto image = readFile(parser.value(options.companyLogo));
        if (!image)
            return kFailed;
        companyLogo = *image;
    }
    MfaService service({.systemToken = parser.value(options.systemToken),
                        .secretKey = parser.value(options.secretKey),
                        .companyName = parser.value(options.company),
                        .companyLogo = companyLogo,
                        .port = port,
                        .https = parser.isSet(options.https),
                        .openEnrollment = !parser.isSet(options.user),
                        .log = [](const QString& line) { print(stdout, line); },
                        .codeReady =
                            [](const QString& user, const QString& code) {
                                print(stdout, "code for " + user + ": " + code);
                            }});
    if (const auto applied =
            applyLists(service, parser.values(options.user), parser.values(options.misbehave));
        !applied) {
        return wrongUsage(applied.error());
    }
    return serve(service, parser.value(options.certificateOut));
}

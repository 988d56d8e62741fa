// A sign-in, from the call of the library to the page shown, and the memory that it takes, against
// a program that shows the same page of the same service. The two run in turn, on an X display.
// Then the same sign-in with the revocation of remembered devices, which sends three requests for
// addresses.
//
// It runs in a network of its own, where the public services are on loopback.
//
// Usage: bench_sign_in [PAIRS]

#include "comparison.h"
#include "core/settings.h"
#include "mfa_service/mfa_service.h"
#include "pairs.h"
#include "platform/paths.h"
#include "public_services/public_services.h"
#include "rest/rest_client.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <semaphore>
#include <stdexcept>
#include <thread>

namespace {

using namespace std::chrono_literals;
using namespace korvex::bench;

constexpr double kTarget = 1.10; // of time and of memory
constexpr auto kPatience = 60s;
// The engine still takes memory for a while after the page is shown.
constexpr auto kSettling = 300ms;

const QString kUser = QStringLiteral("BENCH\\root");
const QString kSystemToken = QStringLiteral("bench-system-token");
const QString kSecretKey = QStringLiteral("bench-secret-key");
constexpr char kInitBody[] =
    R"({"systemToken": "bench-system-token", "username": "BENCH\\root", "params":
        {"appVer": "bench", "hostName": "bench", "rdpMode": false, "hrpsk": ""}})";

/// The page has been drawn two frames after it was loaded. Once the service has answered, the page
/// enters the code, so that both programs end by themselves.
constexpr char kPageScript[] = R"(<script>
addEventListener('load', () => requestAnimationFrame(() => requestAnimationFrame(async () => {
  await fetch('/shown');
  code.value = 'CODE';
  code.dispatchEvent(new Event('input'));
})));
</script>)";

/// The number behind "NAME:" in /proc/ID/status; 0 when there is none.
qint64 processStatus(const QString& id, const QByteArray& name)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(id));
    const QByteArray status = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const int position = status.indexOf('\n' + name + ':');
    return position < 0 ? 0 : std::atoll(status.constData() + position + name.size() + 2);
}

/// Peak resident memory (VmHWM) of a process and all its descendants, in MiB. Pages that they share
/// count once for each.
double peakMemory(const QString& process)
{
    double sum = static_cast<double>(processStatus(process, "VmHWM")) / 1024;
    for (const QString& other : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs))
        if (other.toLongLong() != 0 && processStatus(other, "PPid") == process.toLongLong())
            sum += peakMemory(other);
    return sum;
}

/// The results of one run of a program: the time to each page that it showed, and its memory while
/// it showed the first.
struct Run
{
    std::vector<double> milliseconds;
    double mebibytes = 0;
};

class Bench
{
public:
    Bench()
        : m_service({.systemToken = kSystemToken,
                     .secretKey = kSecretKey,
                     .clock = [] { return 1'700'000'000; }, // keeps code and pages valid
                     .log = [this](const QString& line) { onRequest(line); }})
    {
        if (const auto started = m_service.start(); !started)
            throw std::runtime_error(started.error().toStdString());
        QFile file(QStringLiteral(":/korvex/mfa_service/page/signin.html"));
        if (!file.open(QIODevice::ReadOnly))
            throw std::runtime_error("the service has no page");
        QByteArray page = file.readAll() + kPageScript;
        m_service.setPage(page.replace("CODE", m_service.currentCode(kUser).toLatin1()));

        QDir().mkpath(korvex::platform::installDirectory());
        korvex::mainKey().writeString(QStringLiteral("SystemToken"), kSystemToken);
        korvex::mainKey().writeString(QStringLiteral("SecretKey"), kSecretKey);
        korvex::mainKey().writeString(QStringLiteral("korvexApiServer"), m_service.baseUrl());
    }

    /// The RevokeRememberDevicePolicy of sign-ins to come.
    void setPolicy(qint32 policy)
    {
        korvex::mainKey().writeNumber(QStringLiteral("RevokeRememberDevicePolicy"), policy);
    }

    std::size_t requestsSoFar() const { return m_service.requests().size(); }

    /// Two sign-ins in one process.
    Run signInTwice()
    {
        const QString json = QStringLiteral("{\"user\":\"%1\",\"ip\":\"\"}").arg(kUser);
        return run(QStringLiteral(KORVEX_TIMED_HOST), {json, json});
    }

    Run showBareView()
    {
        const auto page = korvex::KorvexRestAPIClient().post(
            QStringLiteral("/api/transaction/init"), QJsonDocument::fromJson(kInitBody));
        if (!page)
            throw std::runtime_error("the service opens no transaction");
        return run(QStringLiteral(KORVEX_BARE_VIEW), {page->value("webURI").toString()});
    }

private:
    /// On a thread of the service and before the answer, which the page waits for.
    void onRequest(const QString& line)
    {
        if (!line.startsWith(QLatin1String("GET /shown ")))
            return;
        m_shownAt = sharedNow();
        m_shown.release();
        m_goOn.acquire();
    }

    /// Runs a program that shows a page for each of its arguments.
    Run run(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        Run result;
        while (result.milliseconds.size() < static_cast<std::size_t>(arguments.size())) {
            if (!m_shown.try_acquire_for(kPatience))
                fail(process, "shows no page");
            result.milliseconds.push_back(m_shownAt);
            std::this_thread::sleep_for(kSettling);
            if (result.mebibytes == 0)
                result.mebibytes = peakMemory(QString::number(process.processId()));
            m_goOn.release();
        }
        if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit ||
            process.exitCode() != 0)
            fail(process, "does not end well");
        // Between log lines, one line for each page says when the call for it began.
        auto page = result.milliseconds.begin();
        for (const QByteArray& line : process.readAll().split('\n'))
            if (line.startsWith("started "))
                *page++ -= line.mid(8).toDouble();
        return result;
    }

    [[noreturn]] static void fail(QProcess& process, const char* what)
    {
        process.waitForReadyRead(0);
        const QString state = QStringLiteral("%1 %2 (exit code %3, %4):\n")
                                  .arg(process.program(), QLatin1String(what),
                                       QString::number(process.exitCode()), process.errorString());
        throw std::runtime_error(state.toStdString() + process.readAll().toStdString());
    }

    std::atomic<double> m_shownAt = 0;
    std::binary_semaphore m_shown{0};
    std::binary_semaphore m_goOn{0};
    korvex::mfa_service::MfaService m_service; // last, because its threads use the members above
};

/// What revocation adds to a sign-in: three requests of its own, none to the MFA service.
bool measureRevocation(Bench& bench, int pairs)
{
    constexpr int kRequests = 3;
    korvex::public_services::PublicServices services([](const QString&) { return "203.0.113.7"; });
    Comparison time{.subject = "sign-in with revocation", .unit = "ms"};
    std::size_t before = bench.requestsSoFar();
    const auto countToService = [&] {
        return bench.requestsSoFar() - std::exchange(before, bench.requestsSoFar());
    };
    bool sameRequests = true;
    for (int i = 0; i <= pairs; ++i) {
        bench.setPolicy(2);
        const Run with = bench.signInTwice();
        const std::size_t requests = countToService();
        // Two sign-ins in each run.
        sameRequests &= services.takeRequests().size() == 2 * kRequests;
        bench.setPolicy(0);
        const Run without = bench.signInTwice();
        sameRequests &= countToService() == requests && services.takeRequests().isEmpty();
        if (i == 0)
            continue;
        time.ours.push_back(with.milliseconds.at(0));
        time.baseline.push_back(without.milliseconds.at(0));
    }
    std::transform(time.ours.begin(), time.ours.end(), time.baseline.begin(), time.ours.begin(),
                   std::minus());
    std::fprintf(stderr,
                 "Revocation adds %.0f ms (median of the pairs) and %d requests, all to the public "
                 "services: %s\n",
                 median(time.ours), kRequests, sameRequests ? "yes" : "NO");
    return sameRequests;
}

int measure(int pairs)
{
    printHeading("a bare web view with the same page of the same service");
    Bench bench;
    bench.setPolicy(0);
    Comparison time{.subject = "sign-in, call to page shown", .unit = "ms"};
    Comparison memory{.subject = "peak memory of all its processes", .unit = "MB"};
    std::vector<double> later;
    // The first pair fills the caches of system and engine and does not count.
    for (int i = 0; i <= pairs; ++i) {
        const Run ours = bench.signInTwice();
        const Run bare = bench.showBareView();
        if (i == 0)
            continue;
        time.ours.push_back(ours.milliseconds.at(0));
        time.baseline.push_back(bare.milliseconds.at(0));
        memory.ours.push_back(ours.mebibytes);
        memory.baseline.push_back(bare.mebibytes);
        later.push_back(ours.milliseconds.at(1));
    }
    const bool timeMet = report(time, kTarget);
    const bool memoryMet = report(memory, kTarget);
    std::fprintf(stderr, "A second sign-in in the same process: %.0f ms, %.1f times as fast\n",
                 median(later), median(time.ours) / median(later));
    const bool onlyRequests = measureRevocation(bench, pairs);
    return timeMet && memoryMet && onlyRequests ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (!korvex::public_services::enterPrivateNetwork(argv)) {
        std::fprintf(stderr, "no network of its own may be made here\n");
        return 1;
    }
    return runPairs(argc, argv, measure);
}

#include "mfa_service.h"

#include "certificate.h"

#include <algorithm>
#include <httplib.h>

// Keeps the linker from dropping the page from a static library. The macro wants a function
// outside of every namespace.
static void loadPageFiles()
{
    Q_INIT_RESOURCE(mfa_service);
}

namespace korvex::mfa_service {

using namespace std::chrono_literals;

namespace {

constexpr char kAddress[] = "127.0.0.1";
constexpr std::size_t kMaximumBody = 64 * 1024;
constexpr std::size_t kMaximumRequests = 1000;
constexpr std::size_t kRequestsPerConnection = 1000;
// A thread serves one connection at a time, and hanging answers keep theirs.
constexpr std::size_t kThreads = 32;
constexpr std::size_t kPieceSize = 64 * 1024;
constexpr std::size_t kMissingBytes = 100;
constexpr auto kSlowBytePause = 100ms;

Request toRequest(const httplib::Request& received)
{
    Request request{.method = QByteArray::fromStdString(received.method),
                    .path = QString::fromStdString(received.path),
                    .body = QByteArray::fromStdString(received.body),
                    .remotePort = received.remote_port};
    for (const auto& [name, value] : received.headers) {
        request.headers.insert(QByteArray::fromStdString(name).toLower(),
                               QByteArray::fromStdString(value));
    }
    return request;
}

/// httplib puts a limit only on bodies that announce their length, so others are refused.
httplib::Server::HandlerResponse refuseUnknownLength(const httplib::Request& request,
                                                     httplib::Response& response)
{
    const bool hasBody = request.method != "GET" && request.method != "HEAD";
    if (!hasBody && !request.has_header("Transfer-Encoding"))
        return httplib::Server::HandlerResponse::Unhandled;
    if (request.has_header("Content-Length") && !request.has_header("Transfer-Encoding"))
        return httplib::Server::HandlerResponse::Unhandled;
    response.status = 411;
    return httplib::Server::HandlerResponse::Handled;
}

/// A restarted service gets its port back at once, but never shares it with another one, as
/// httplib's own choice would. On Windows this needs no option.
void setSocketOptions([[maybe_unused]] socket_t socket)
{
#ifndef _WIN32
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
#endif
}

/// The port that the server has got, or -1.
int bindPort(httplib::Server& server, int wanted)
{
    if (wanted == 0)
        return server.bind_to_any_port(kAddress);
    return server.bind_to_port(kAddress, wanted) ? wanted : -1;
}

} // namespace

MfaService::MfaService(ServiceOptions options)
    : m_options(std::move(options))
    , m_signIn(m_options)
    , m_script(m_options.secretKey.toUtf8())
{}

MfaService::~MfaService()
{
    stop();
}

std::expected<void, QString> MfaService::start()
{
    loadPageFiles();
    if (m_options.https) {
        const Certificate certificate = makeCertificate();
        m_certificatePem = certificate.pem;
        m_http = std::make_unique<httplib::SSLServer>(certificate.certificate.get(),
                                                      certificate.key.get());
    } else {
        m_http = std::make_unique<httplib::Server>();
    }
    if (!m_http->is_valid())
        return std::unexpected(QStringLiteral("cannot make a certificate"));
    configure();

    const int port = bindPort(*m_http, m_options.port);
    if (port < 0) {
        return std::unexpected(QStringLiteral("cannot listen on %1, port %2")
                                   .arg(QLatin1String(kAddress))
                                   .arg(m_options.port));
    }
    m_baseUrl = QStringLiteral("%1://%2:%3")
                    .arg(QLatin1String(m_options.https ? "https" : "http"), QLatin1String(kAddress))
                    .arg(port);
    m_listening = std::async(std::launch::async, [this] { return m_http->listen_after_bind(); });
    // httplib ignores stop() until it runs.
    while (!m_http->is_running() && m_listening.wait_for(1ms) == std::future_status::timeout) {
    }
    return {};
}

void MfaService::configure()
{
    const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
        handle(request, response);
    };
    const std::string everything = ".*";
    m_http->Get(everything, handler).Post(everything, handler).Patch(everything, handler);
    m_http->set_pre_routing_handler(refuseUnknownLength);
    m_http->set_payload_max_length(kMaximumBody);
    m_http->set_socket_options(setSocketOptions);
    m_http->set_tcp_nodelay(true);
    // These three limit the time of stop(): httplib checks only between two requests whether to
    // end.
    m_http->set_keep_alive_timeout(1);
    m_http->set_read_timeout(2s);
    m_http->set_write_timeout(2s);
    m_http->set_keep_alive_max_count(kRequestsPerConnection);
    m_http->set_default_headers({{"Cache-Control", "no-store"},
                                 {"X-Content-Type-Options", "nosniff"},
                                 {"Referrer-Policy", "no-referrer"}});
    m_http->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
}

void MfaService::stop()
{
    if (!m_listening.valid())
        return;
    m_http->stop();
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_listening.get();
}

void MfaService::handle(const httplib::Request& received, httplib::Response& response)
{
    const Request request = toRequest(received);
    record(request);
    const QString route = request.route();
    const Answer answer = m_script.apply(route, m_signIn.answer(request, m_baseUrl));
    if (m_options.log) {
        m_options.log(QStringLiteral("%1 %2 %3")
                          .arg(QString::fromLatin1(request.method), route)
                          .arg(answer.status));
    }
    deliver(answer, response);
}

void MfaService::record(const Request& request)
{
    const std::lock_guard lock(m_mutex);
    m_requests.push_back(request);
    if (m_requests.size() > kMaximumRequests)
        m_requests.pop_front();
    m_changed.notify_all();
}

std::vector<Request> MfaService::requests() const
{
    const std::lock_guard lock(m_mutex);
    return {m_requests.begin(), m_requests.end()};
}

bool MfaService::waitForRequest(const QString& route, std::chrono::milliseconds timeout,
                                int count) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [&] {
        return std::count_if(m_requests.begin(), m_requests.end(), [&](const Request& request) {
                   return request.route() == route;
               }) >= count;
    });
}

void MfaService::deliver(const Answer& answer, httplib::Response& response)
{
    response.status = answer.status;
    for (auto header = answer.headers.begin(); header != answer.headers.end(); ++header)
        response.set_header(header.key().toStdString(), header.value().toStdString());
    if (answer.delivery == Answer::Delivery::Never) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_stopping; });
        response.status = 503;
        return;
    }
    if (answer.delivery == Answer::Delivery::Slowly) {
        deliverSlowly(answer, response);
        return;
    }
    // In pieces, because httplib notices a stop between two of them. With a length, because httplib
    // would otherwise compress the body, which has been signed as it is.
    const auto size = static_cast<std::size_t>(answer.body.size());
    const bool isCut = answer.delivery == Answer::Delivery::CutShort;
    response.set_content_provider(
        size + (isCut ? kMissingBytes : 0), answer.contentType.toStdString(),
        [body = answer.body, size](std::size_t offset, std::size_t, httplib::DataSink& sink) {
            return offset < size &&
                   sink.write(body.constData() + offset, std::min(kPieceSize, size - offset));
        });
}

void MfaService::deliverSlowly(const Answer& answer, httplib::Response& response)
{
    response.set_content_provider(
        answer.contentType.toStdString(), [this](std::size_t, httplib::DataSink& sink) {
            std::unique_lock lock(m_mutex);
            m_changed.wait_for(lock, kSlowBytePause, [this] { return m_stopping; });
            const bool goOn = !m_stopping;
            lock.unlock();
            return goOn && sink.write(" ", 1);
        });
}

} // namespace korvex::mfa_service

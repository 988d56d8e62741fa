#pragma once

#include "answer.h"
#include "behaviour.h"
#include "request.h"
#include "service_options.h"
#include "sign_in.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <expected>
#include <future>
#include <memory>
#include <mutex>
#include <vector>

namespace httplib {
struct Request;
struct Response;
class Server;
} // namespace httplib

namespace korvex::mfa_service {

/// The reference MFA service: an HTTP or HTTPS server on a free port of 127.0.0.1, running on
/// threads of its own. Every function may be called from any thread while it runs.
///
/// A "route" is a path, with "/signin" standing for the page of every transaction and
/// "/signin/code" for the address that a page sends its code to.
class MfaService
{
public:
    explicit MfaService(ServiceOptions options);
    /// Stops the service.
    ~MfaService();
    MfaService(const MfaService&) = delete;
    MfaService& operator=(const MfaService&) = delete;

    /// Starts listening; to be called once. The error is the reason, as a text for people.
    [[nodiscard]] std::expected<void, QString> start();
    /// Ends all connections and closes the port. Does not wait for hanging or endless answers, and
    /// at most two seconds for a client that keeps a connection open or stops half-way.
    void stop();

    /// "http://127.0.0.1:PORT" or "https://127.0.0.1:PORT", once started.
    QString baseUrl() const { return m_baseUrl; }
    /// The certificate to trust for HTTPS, once started; else empty.
    QByteArray certificatePem() const { return m_certificatePem; }

    void addUser(const QString& name, const QByteArray& totpSecret)
    {
        m_signIn.addUser(name, totpSecret);
    }
    /// The code that the user's authenticator app shows now; empty for an unknown user.
    QString currentCode(const QString& user) { return m_signIn.currentCode(user); }

    /// The requests received so far, the latest 1000 of them, oldest first.
    std::vector<Request> requests() const;
    /// Waits until `count` requests for the route have been received; false after the time-out.
    bool waitForRequest(const QString& route, std::chrono::milliseconds timeout,
                        int count = 1) const;

    void setBehaviour(const QString& route, const Behaviour& behaviour)
    {
        m_script.setBehaviour(route, behaviour);
    }
    /// Puts this `result` into the signed envelope of every success on the route.
    void setResult(const QString& route, const QJsonObject& result)
    {
        m_script.setResult(route, result);
    }
    /// Shows this page instead of the built-in one; an empty text brings the built-in one back.
    void setPage(const QByteArray& html) { m_script.setPage(html); }

private:
    void configure();
    void handle(const httplib::Request& received, httplib::Response& response);
    void record(const Request& request);
    void deliver(const Answer& answer, httplib::Response& response);
    void deliverSlowly(const Answer& answer, httplib::Response& response);

    const ServiceOptions m_options;
    SignIn m_signIn;
    Script m_script;
    QString m_baseUrl;
    QByteArray m_certificatePem;
    std::unique_ptr<httplib::Server> m_http;
    std::future<bool> m_listening;

    mutable std::mutex m_mutex; ///< guards what follows
    mutable std::condition_variable m_changed;
    std::deque<Request> m_requests;
    bool m_stopping = false;
};

} // namespace korvex::mfa_service

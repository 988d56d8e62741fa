#include "public_services.h"

#include "context/public_address.h"

#include <QProcess>
#include <QUrl>
#include <httplib.h>
#include <unistd.h>
#include <vector>

namespace korvex::public_services {

bool enterPrivateNetwork(char** arguments)
{
    if (qEnvironmentVariableIsSet("KORVEX_PRIVATE_NETWORK"))
        return true;
    if (QProcess::execute(QStringLiteral("unshare"), {"-rmn", "true"}) != 0)
        return false;
    QList<QByteArray> words{KORVEX_PRIVATE_NETWORK_SCRIPT, "service.example"};
    for (const QString& url : addressServices().echo + QStringList{addressServices().information})
        words << QUrl(url).host().toUtf8();
    words << "--";
    std::vector<char*> command;
    for (QByteArray& word : words)
        command.push_back(word.data());
    do
        command.push_back(*arguments);
    while (*arguments++);
    ::execv(command[0], command.data());
    qFatal("cannot run %s", command[0]);
}

PublicServices::PublicServices(std::function<QByteArray(const QString& request)> answer)
    : m_server(std::make_unique<httplib::SSLServer>("/mnt/trusted/hosts.pem", "/mnt/key.pem"))
{
    m_server->Get(".*", [this, answer](const httplib::Request& request, httplib::Response& reply) {
        const std::lock_guard lock(m_mutex);
        m_requests << QString::fromStdString(request.get_header_value("Host") + request.path);
        reply.set_content(answer(m_requests.last()).toStdString(), "text/plain");
    });
    m_server->set_tcp_nodelay(true);
    if (!m_server->bind_to_port("127.0.0.1", 443))
        qFatal("port 443 of the private network is taken");
    m_thread = std::thread([this] { m_server->listen_after_bind(); });
}

PublicServices::~PublicServices()
{
    m_server->stop();
    m_thread.join();
}

QStringList PublicServices::takeRequests()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_requests, {});
}

} // namespace korvex::public_services

#pragma once

#include <QByteArray>
#include <QStringList>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace httplib {
class SSLServer;
} // namespace httplib

namespace korvex::public_services {

/// Starts this program anew by script/private-network, where the public services that the library
/// is built with, and "service.example", are names of loopback; returns in that program. False
/// where nobody may do so.
bool enterPrivateNetwork(char** arguments);

/// Those public services, under their own names. `answer` gets "HOST/PATH" and gives the body.
class PublicServices
{
public:
    explicit PublicServices(std::function<QByteArray(const QString& request)> answer);
    ~PublicServices();

    /// The requests since the last call.
    QStringList takeRequests();

private:
    std::unique_ptr<httplib::SSLServer> m_server;
    std::mutex m_mutex; ///< guards the requests
    QStringList m_requests;
    std::thread m_thread;
};

} // namespace korvex::public_services

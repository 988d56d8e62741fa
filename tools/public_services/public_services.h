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

/// Restarts this program in script/private-network, where the public services that the library is
/// built with, and "service.example", are names of loopback. Returns true in the restarted program;
/// false when the system does not allow such a network.
bool enterPrivateNetwork(char** arguments);

/// Those public services, under their own names. `answer` gets "HOST/PATH" and returns the body.
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

#pragma once

#include <QMap>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QVector>
#include <memory>
#include <utility>

namespace korvex::test {

/// A peer that answers every request with the same bytes, or with those for its path, and then
/// hangs up. It lives on the test's own thread and is served while a client waits in its event
/// loop.
class RawServer : public QTcpServer
{
public:
    RawServer()
    {
        connect(this, &QTcpServer::newConnection, this,
                [this] { receive(nextPendingConnection()); });
        listen(QHostAddress::LocalHost);
    }

    QString authority() const { return QString("127.0.0.1:%1").arg(serverPort()); }

    QByteArray answer;
    QMap<QByteArray, QList<QByteArray>> answers; ///< for a path, in turn; the last one stays
    QVector<QByteArray> requests;                ///< as received

    /// The paths of the requests so far, which it forgets.
    QString takePaths()
    {
        QStringList paths;
        for (const QByteArray& request : std::exchange(requests, {}))
            paths << request.split(' ').value(1);
        return paths.join(' ');
    }

    /// An answer with this status line, body and further header lines.
    static QByteArray http(const QByteArray& status, const QByteArray& body,
                           const QByteArray& headers = {})
    {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
               "\r\nConnection: close\r\n" + headers + "\r\n" + body;
    }

private:
    void receive(QTcpSocket* socket)
    {
        connect(socket, &QTcpSocket::readyRead, this,
                [this, socket, request = std::make_shared<QByteArray>()] {
                    *request += socket->readAll();
                    static const QRegularExpression length(
                        "\r\nContent-Length: (\\d+)\r\n",
                        QRegularExpression::CaseInsensitiveOption);
                    const int headerEnd = request->indexOf("\r\n\r\n");
                    const int bodySize =
                        length.match(QString::fromLatin1(*request)).captured(1).toInt();
                    if (headerEnd < 0 || request->size() < headerEnd + 4 + bodySize)
                        return;
                    requests << *request;
                    auto& own = answers[request->split(' ').value(1)];
                    socket->write(own.value(0, answer));
                    if (own.size() > 1)
                        own.removeFirst();
                    socket->disconnectFromHost();
                });
    }
};

} // namespace korvex::test

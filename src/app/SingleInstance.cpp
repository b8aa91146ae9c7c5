#include "app/SingleInstance.h"

#include <QLocalSocket>
#include <unistd.h>

namespace {

constexpr int connectTimeoutMs = 1000;

} // namespace

SingleInstance::SingleInstance(const QString &serverName, QObject *parent)
    : QObject(parent), m_serverName(serverName)
{
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::readConnection);
}

QString SingleInstance::defaultServerName()
{
    return QStringLiteral("QuillBay-%1").arg(getuid());
}

bool SingleInstance::forwardToRunningInstance(const QStringList &arguments) const
{
    QLocalSocket socket;
    socket.connectToServer(m_serverName);
    if (!socket.waitForConnected(connectTimeoutMs))
        return false;
    socket.write(arguments.join(u'\n').toUtf8());
    socket.flush();
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(connectTimeoutMs);
    return true;
}

bool SingleInstance::listen()
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    if (m_server.listen(m_serverName))
        return true;
    // A program that crashed leaves its socket behind; nobody answers on it any more.
    QLocalServer::removeServer(m_serverName);
    return m_server.listen(m_serverName);
}

void SingleInstance::readConnection()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
            const QString text = QString::fromUtf8(socket->readAll());
            socket->deleteLater();
            if (!text.isEmpty())
                emit argumentsReceived(text.split(u'\n'));
            else
                emit argumentsReceived({});
        });
    }
}

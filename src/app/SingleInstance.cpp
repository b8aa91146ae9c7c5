#include "app/SingleInstance.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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

bool SingleInstance::forwardToRunningInstance(const QStringList &arguments,
                                              const QString &activationToken) const
{
    QLocalSocket socket;
    socket.connectToServer(m_serverName);
    if (!socket.waitForConnected(connectTimeoutMs))
        return false;
    const QJsonObject message{{QStringLiteral("arguments"), QJsonArray::fromStringList(arguments)},
                              {QStringLiteral("activationToken"), activationToken}};
    socket.write(QJsonDocument(message).toJson(QJsonDocument::Compact));
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
            const QJsonObject message = QJsonDocument::fromJson(socket->readAll()).object();
            socket->deleteLater();
            QStringList arguments;
            for (const QJsonValue &argument : message.value(QStringLiteral("arguments")).toArray())
                arguments.append(argument.toString());
            emit argumentsReceived(arguments, message.value(QStringLiteral("activationToken")).toString());
        });
    }
}

// Keeps one QuillBay per user: a second start hands its files and feed addresses, and the activation
// token its launcher gave it, to the running one over a local socket and ends. It carries them; it never
// interprets them.
#pragma once

#include <QLocalServer>
#include <QStringList>

class SingleInstance : public QObject
{
    Q_OBJECT

public:
    // The name is the user's own, so that two users on one machine each keep their program.
    explicit SingleInstance(const QString &serverName = defaultServerName(), QObject *parent = nullptr);

    static QString defaultServerName();

    // True when a running program took the arguments; this start should then end.
    bool forwardToRunningInstance(const QStringList &arguments,
                                  const QString &activationToken = QString()) const;
    // Becomes the running program; false when the socket cannot be made.
    bool listen();

signals:
    void argumentsReceived(const QStringList &arguments, const QString &activationToken);

private:
    void readConnection();

    QString m_serverName;
    QLocalServer m_server;
};

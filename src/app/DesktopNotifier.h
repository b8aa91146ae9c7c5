// Shows the program's desktop notifications through the session bus's notification service and tells
// when the user clicks one of them, with the activation token the service gave for the click. It never
// raises windows itself; whoever listens to clicked() does.
#pragma once

#include "platform/QBUserNotifier.h"

#include <QHash>
#include <QObject>
#include <QSet>

class DesktopNotifier : public QObject, public QBUserNotifier
{
    Q_OBJECT

public:
    explicit DesktopNotifier(QObject *parent = nullptr);

    // Does nothing, once saying so in the log, where there is no session bus or no notification service.
    void deliver(const QString &title, const QString &text) override;

public slots:
    // Reached by the service's ActionInvoked signal; clicks on other programs' notifications are ignored.
    void actionInvoked(uint notificationId, const QString &actionKey);
    // Sent just before ActionInvoked by services that let the clicked program come forward on Wayland.
    void activationToken(uint notificationId, const QString &token);
    void notificationClosed(uint notificationId, uint reason);

signals:
    // The token is empty when the service gave none.
    void clicked(const QString &activationToken);

private:
    void reportUnavailable(const QString &why);

    QSet<uint> m_shownIds;
    QHash<uint, QString> m_activationTokens;
    bool m_listening = false;
    bool m_reportedUnavailable = false;
};

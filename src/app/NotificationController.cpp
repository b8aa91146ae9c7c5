#include "app/NotificationController.h"

#include "app/DesktopNotifier.h"
#include "app/WindowActivation.h"
#include "platform/NotificationCenter.h"

#include <QWidget>

NotificationController::NotificationController(NotificationCenter &notificationCenter,
                                               DesktopNotifier &notifier, QObject *parent)
    : QObject(parent), m_notificationCenter(notificationCenter)
{
    for (const QString &name :
         {QStringLiteral("Podcast downloaded"), QStringLiteral("New articles downloaded")})
        m_observerTokens.append(m_notificationCenter.addObserver(
            name, [this](const Notification &notification) { backgroundNotifications(notification); }));
    connect(&notifier, &DesktopNotifier::clicked, this, &NotificationController::growlNotificationWasClicked);
}

NotificationController::~NotificationController()
{
    for (const int token : m_observerTokens)
        m_notificationCenter.removeObserver(token);
}

void NotificationController::setWindow(QWidget *window)
{
    m_window = window;
}

// The updater already tells the user through the notifier; these broadcasts need nothing more.
void NotificationController::activeNotifications(const Notification &) {}

void NotificationController::backgroundNotifications(const Notification &) {}

void NotificationController::growlNotificationWasClicked(const QString &activationToken)
{
    WindowActivation::bringForward(m_window, activationToken);
}

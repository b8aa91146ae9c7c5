// Connects the program to the desktop's notification service: names the program to it and brings the
// main window forward when one of its notifications is clicked. It never shows notifications itself.
#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <QWidget>

class DesktopNotifier;
class NotificationCenter;
struct Notification;

class NotificationController : public QObject
{
    Q_OBJECT

public:
    NotificationController(NotificationCenter &notificationCenter, DesktopNotifier &notifier,
                           QObject *parent = nullptr);
    ~NotificationController() override;

    void setWindow(QWidget *window);
    QWidget *window() const { return m_window; }

    QString applicationNameForGrowl() const { return QStringLiteral("QuillBay"); }
    // The program registers no notification kinds of its own.
    QVariantMap registrationDictionaryForGrowl() const { return {}; }
    void activeNotifications(const Notification &notification);
    void backgroundNotifications(const Notification &notification);

public slots:
    // The token is the desktop's, when it gave one with the click.
    void growlNotificationWasClicked(const QString &activationToken = QString());

private:
    NotificationCenter &m_notificationCenter;
    QPointer<QWidget> m_window;
    QList<int> m_observerTokens;
};

#include "app/DesktopNotifier.h"

#include "platform/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {

const QString Service = QStringLiteral("org.freedesktop.Notifications");
const QString Path = QStringLiteral("/org/freedesktop/Notifications");
const QString Interface = QStringLiteral("org.freedesktop.Notifications");

} // namespace

DesktopNotifier::DesktopNotifier(QObject *parent) : QObject(parent) {}

void DesktopNotifier::deliver(const QString &title, const QString &text)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        reportUnavailable(QStringLiteral("no session bus"));
        return;
    }
    if (!m_listening) {
        bus.connect(Service, Path, Interface, QStringLiteral("ActionInvoked"), this,
                    SLOT(actionInvoked(uint, QString)));
        bus.connect(Service, Path, Interface, QStringLiteral("ActivationToken"), this,
                    SLOT(activationToken(uint, QString)));
        bus.connect(Service, Path, Interface, QStringLiteral("NotificationClosed"), this,
                    SLOT(notificationClosed(uint, uint)));
        m_listening = true;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(Service, Path, Interface, QStringLiteral("Notify"));
    // The sound hint asks for the desktop's usual message sound rather than a silent bubble.
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("quillbay")},
                            {QStringLiteral("sound-name"), QStringLiteral("message-new-instant")}};
    call << QStringLiteral("QuillBay") << uint(0) << QStringLiteral("quillbay") << title << text
         << QStringList{QStringLiteral("default"), QStringLiteral("Open")} << hints << int(-1);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *finished) {
        const QDBusPendingReply<uint> reply = *finished;
        if (reply.isError())
            reportUnavailable(reply.error().message());
        else
            m_shownIds.insert(reply.value());
        finished->deleteLater();
    });
}

void DesktopNotifier::actionInvoked(uint notificationId, const QString &actionKey)
{
    Q_UNUSED(actionKey);
    const QString token = m_activationTokens.take(notificationId);
    if (m_shownIds.remove(notificationId))
        emit clicked(token);
}

void DesktopNotifier::activationToken(uint notificationId, const QString &token)
{
    if (m_shownIds.contains(notificationId))
        m_activationTokens.insert(notificationId, token);
}

void DesktopNotifier::notificationClosed(uint notificationId, uint reason)
{
    Q_UNUSED(reason);
    m_shownIds.remove(notificationId);
    m_activationTokens.remove(notificationId);
}

void DesktopNotifier::reportUnavailable(const QString &why)
{
    if (m_reportedUnavailable)
        return;
    m_reportedUnavailable = true;
    Log::write(QStringLiteral("Desktop notifications are not shown: %1").arg(why));
}

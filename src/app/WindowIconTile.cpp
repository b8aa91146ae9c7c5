#include "app/WindowIconTile.h"

#include "platform/QuillBayIcon.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QIcon>
#include <QPixmap>

WindowIconTile::WindowIconTile() : m_plainIcon(QuillBayIcon::draw(iconSize))
{
    QApplication::setWindowIcon(QIcon(QPixmap::fromImage(m_plainIcon)));
}

void WindowIconTile::setUnreadCount(std::function<int()> unreadCount)
{
    m_unreadCount = std::move(unreadCount);
}

void WindowIconTile::setIcon(const QImage &image)
{
    QApplication::setWindowIcon(QIcon(QPixmap::fromImage(image)));
    sendLauncherCount();
}

void WindowIconTile::resetIcon()
{
    QApplication::setWindowIcon(QIcon(QPixmap::fromImage(m_plainIcon)));
    sendLauncherCount();
}

// Launchers that show counts listen for this signal; where none listens it costs nothing.
void WindowIconTile::sendLauncherCount() const
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!m_unreadCount || !bus.isConnected())
        return;
    const int count = m_unreadCount();
    QDBusMessage update = QDBusMessage::createSignal(
        QStringLiteral("/com/canonical/unity/launcherentry/quillbay"),
        QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    update << QStringLiteral("application://quillbay.desktop")
           << QVariantMap{{QStringLiteral("count"), qint64(count)},
                          {QStringLiteral("count-visible"), count > 0}};
    bus.send(update);
}

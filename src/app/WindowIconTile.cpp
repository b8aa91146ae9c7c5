#include "app/WindowIconTile.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QIcon>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace {

const int IconSize = 128;

void drawWave(QPainter &painter)
{
    QPainterPath wave;
    wave.moveTo(8, 92);
    wave.cubicTo(28, 78, 44, 106, 64, 92);
    wave.cubicTo(84, 78, 100, 106, 120, 92);
    wave.lineTo(120, 112);
    wave.quadTo(120, 120, 112, 120);
    wave.lineTo(16, 120);
    wave.quadTo(8, 120, 8, 112);
    wave.closeSubpath();
    QLinearGradient water(0, 80, 0, 120);
    water.setColorAt(0, QColor(64, 156, 214));
    water.setColorAt(1, QColor(22, 86, 150));
    painter.setPen(Qt::NoPen);
    painter.setBrush(water);
    painter.drawPath(wave);
}

void drawQuill(QPainter &painter)
{
    QPainterPath vane;
    vane.moveTo(40, 96);
    vane.cubicTo(40, 60, 70, 22, 112, 8);
    vane.cubicTo(104, 40, 80, 78, 40, 96);
    QLinearGradient feather(40, 96, 112, 8);
    feather.setColorAt(0, QColor(246, 241, 228));
    feather.setColorAt(1, QColor(214, 196, 160));
    painter.setPen(QPen(QColor(120, 98, 64), 2));
    painter.setBrush(feather);
    painter.drawPath(vane);
    painter.setPen(QPen(QColor(96, 74, 44), 3, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(34, 104), QPointF(100, 22));
}

} // namespace

WindowIconTile::WindowIconTile() : m_plainIcon(drawIcon())
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

QImage WindowIconTile::drawIcon()
{
    QImage icon(IconSize, IconSize, QImage::Format_ARGB32_Premultiplied);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    drawWave(painter);
    drawQuill(painter);
    return icon;
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

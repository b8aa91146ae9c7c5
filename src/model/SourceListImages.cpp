#include "model/SourceListImages.h"

#include "platform/Resources.h"
#include "platform/ScaledDrawing.h"

#include <QFileInfo>
#include <QHash>
#include <QMutex>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <functional>

namespace {

using Drawing = ScaledDrawing::Drawing;

void drawFolder(QPainter &painter)
{
    painter.setPen(QPen(QColor(0x3d, 0x6f, 0xa8), 0.8));
    painter.setBrush(QColor(0x8c, 0xb9, 0xe8));
    QPainterPath shape;
    shape.moveTo(1, 3);
    shape.lineTo(6, 3);
    shape.lineTo(7.5, 4.5);
    shape.lineTo(15, 4.5);
    shape.lineTo(15, 13.5);
    shape.lineTo(1, 13.5);
    shape.closeSubpath();
    painter.drawPath(shape);
    painter.setBrush(QColor(0xb3, 0xd3, 0xf3));
    painter.drawRect(QRectF(1, 6, 14, 7.5));
}

void drawFeed(QPainter &painter)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xf2, 0x8c, 0x28));
    painter.drawRoundedRect(QRectF(1, 1, 14, 14), 3, 3);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(4.5, 11.5), 1.5, 1.5);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, 1.8, Qt::SolidLine, Qt::FlatCap));
    painter.drawArc(QRectF(-2, 5, 12, 12), 0, 90 * 16);
    painter.drawArc(QRectF(-6.5, 0.5, 21, 21), 0, 90 * 16);
}

void drawArticle(QPainter &painter)
{
    painter.setPen(QPen(QColor(0x80, 0x80, 0x80), 0.8));
    painter.setBrush(Qt::white);
    QPainterPath page;
    page.moveTo(3, 1);
    page.lineTo(10, 1);
    page.lineTo(13.5, 4.5);
    page.lineTo(13.5, 15);
    page.lineTo(3, 15);
    page.closeSubpath();
    painter.drawPath(page);
    painter.drawLine(QPointF(10, 1), QPointF(10, 4.5));
    painter.drawLine(QPointF(10, 4.5), QPointF(13.5, 4.5));
    painter.setPen(QPen(QColor(0xa0, 0xa0, 0xa0), 1));
    for (double y = 7; y < 14; y += 2)
        painter.drawLine(QPointF(5, y), QPointF(11.5, y));
}

void drawSearch(QPainter &painter)
{
    painter.setPen(QPen(QColor(0x5a, 0x5a, 0x5a), 2, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(QColor(0xdd, 0xee, 0xff));
    painter.drawEllipse(QPointF(6.5, 6.5), 4.5, 4.5);
    painter.setPen(QPen(QColor(0x5a, 0x5a, 0x5a), 2.6, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(10, 10), QPointF(14.5, 14.5));
}

void drawLibrary(QPainter &painter)
{
    const QColor spines[] = {QColor(0xb0, 0x3a, 0x2e), QColor(0x2e, 0x6d, 0xb0), QColor(0x3c, 0x9a, 0x4a)};
    painter.setPen(QPen(QColor(0x40, 0x40, 0x40), 0.6));
    for (int book = 0; book < 3; ++book) {
        painter.setBrush(spines[book]);
        painter.drawRect(QRectF(1.5 + book * 4.5, 2 + (book % 2), 3.8, 12 - (book % 2)));
    }
    painter.drawLine(QPointF(0.5, 14.5), QPointF(15.5, 14.5));
}

} // namespace

QImage SourceListImages::imageNamed(const QString &name, qreal devicePixelRatio)
{
    static QMutex lock;
    static QHash<QPair<QString, qreal>, QImage> images;
    // A ratio from a screen scaled by odd amounts is drawn at the next quarter, so the cache stays small.
    const qreal ratio = std::clamp(std::ceil(devicePixelRatio * 4) / 4, 1.0, 8.0);
    QMutexLocker locker(&lock);
    const auto known = images.constFind({name, ratio});
    if (known != images.constEnd())
        return *known;
    const QString file = Resources::path(name, QStringLiteral("png"));
    const QImage image = QFileInfo::exists(file) ? QImage(file) : drawnImageNamed(name, ratio);
    if (!image.isNull())
        images.insert({name, ratio}, image);
    return image;
}

QImage SourceListImages::drawnImageNamed(const QString &name, qreal devicePixelRatio)
{
    static const QHash<QString, Drawing> drawings = {
        {QStringLiteral("library16"), drawLibrary}, {QStringLiteral("search16"), drawSearch},
        {QStringLiteral("folder16"), drawFolder},   {QStringLiteral("folder"), drawFolder},
        {QStringLiteral("feed16"), drawFeed},       {QStringLiteral("feed"), drawFeed},
        {QStringLiteral("article16"), drawArticle},
    };
    const auto drawing = drawings.constFind(name);
    if (drawing == drawings.constEnd())
        return {};
    // Every picture is drawn on a 16-unit grid, so the small and regular sizes agree.
    const int points = name.endsWith(QLatin1String("16")) ? 16 : 32;
    QImage image = ScaledDrawing::paint(qRound(points * devicePixelRatio), 16, *drawing);
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}

#include "platform/QuillBayIcon.h"

#include "platform/ScaledDrawing.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace {

const QRectF tileRect(16, 16, 224, 224);
constexpr qreal tileRadius = 48;

QPainterPath wave(qreal crest, qreal swell)
{
    QPainterPath path;
    path.moveTo(0, crest);
    path.cubicTo(48, crest - swell, 80, crest - swell, 128, crest);
    path.cubicTo(176, crest + swell, 208, crest + swell, 256, crest);
    path.lineTo(256, 256);
    path.lineTo(0, 256);
    path.closeSubpath();
    return path;
}

void drawTile(QPainter &painter)
{
    QLinearGradient sky(0, 16, 0, 240);
    sky.setColorAt(0, QColor("#3a8fd0"));
    sky.setColorAt(1, QColor("#1d4e7e"));
    QPainterPath tile;
    tile.addRoundedRect(tileRect, tileRadius, tileRadius);
    painter.fillPath(tile, sky);

    painter.save();
    painter.setClipPath(tile);
    painter.fillPath(wave(168, 30), QColor("#9fe0ef"));
    painter.fillPath(wave(198, 28), QColor("#4eaed3"));
    painter.restore();
}

void drawQuill(QPainter &painter)
{
    painter.save();
    painter.translate(112, 170);
    painter.rotate(35);

    const QColor edge("#c4b187");
    QPainterPath vane;
    vane.moveTo(0, -20);
    vane.cubicTo(-34, -58, -38, -122, 0, -162);
    vane.cubicTo(22, -122, 26, -60, 0, -20);
    vane.closeSubpath();
    painter.setPen(QPen(edge, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(QColor("#fdf6e3"));
    painter.drawPath(vane);

    painter.drawLine(QLineF(0, -70, -24, -90));
    painter.drawLine(QLineF(0, -104, -22, -128));
    painter.drawLine(QLineF(0, -88, 17, -108));

    painter.setPen(QPen(QColor("#8a6d3b"), 5, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QLineF(0, -150, 0, -14));

    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor("#2b2b2b"));
    painter.drawPolygon(QPolygonF({QPointF(-7, -22), QPointF(7, -22), QPointF(0, 10)}));
    painter.restore();
}

} // namespace

QImage QuillBayIcon::draw(int size)
{
    return ScaledDrawing::paint(size, 256, [](QPainter &painter) {
        drawTile(painter);
        drawQuill(painter);
    });
}

#include "platform/ScaledDrawing.h"

#include <QPainter>

QImage ScaledDrawing::paint(int side, qreal units, const Drawing &drawing)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / units, side / units);
    drawing(painter);
    return image;
}

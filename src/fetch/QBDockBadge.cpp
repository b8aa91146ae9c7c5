#include "fetch/QBDockBadge.h"

#include <QFont>
#include <QPainter>

QBDockBadge::Layout QBDockBadge::layoutForCount(int count)
{
    if (count >= 1000)
        return {QStringLiteral("Lots"), 40, QRectF(0, 15, 128, 64)};
    const QString text = QString::number(count);
    if (count >= 100)
        return {text, 45, QRectF(0, 20, 128, 64)};
    if (count >= 10)
        return {text, 50, QRectF(0, 25, 128, 64)};
    return {text, 64, QRectF(0, 29, 128, 70)};
}

QImage QBDockBadge::image(const QImage &dockImage, int count)
{
    QImage result(dockImage.size(), QImage::Format_ARGB32_Premultiplied);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    painter.drawImage(QPointF(0, 0), dockImage);

    const Layout layout = layoutForCount(count);
    QFont font(QStringLiteral("Helvetica"));
    font.setPixelSize(layout.fontSize);
    font.setLetterSpacing(QFont::AbsoluteSpacing, -1.5);
    painter.setFont(font);
    painter.setPen(Qt::black);
    // The rectangles count upward from the bottom edge; the painter counts downward from the top.
    const QRectF flipped(layout.rect.x(), result.height() - layout.rect.y() - layout.rect.height(),
                         layout.rect.width(), layout.rect.height());
    painter.drawText(flipped, Qt::AlignHCenter | Qt::AlignTop, layout.text);
    return result;
}

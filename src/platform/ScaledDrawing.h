// Paints a drawing made on a fixed square grid into a transparent image of any side, so that every
// size of a picture comes from the same shapes. It only paints; it keeps nothing.
#pragma once

#include <QImage>
#include <functional>

class QPainter;

class ScaledDrawing
{
public:
    using Drawing = std::function<void(QPainter &)>;

    // drawing paints on a grid units by units square; the image is side by side pixels, antialiased.
    static QImage paint(int side, qreal units, const Drawing &drawing);
};

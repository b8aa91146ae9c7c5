// Green in the centred square, red outside it, so a thumbnail shows whether it was cropped there.
#pragma once

#include <QImage>

inline QImage centredGreen(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::red);
    const int edge = std::min(width, height);
    for (int y = (height - edge) / 2; y < (height - edge) / 2 + edge; ++y)
        for (int x = (width - edge) / 2; x < (width - edge) / 2 + edge; ++x)
            image.setPixelColor(x, y, Qt::green);
    return image;
}

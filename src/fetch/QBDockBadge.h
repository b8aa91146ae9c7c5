// Draws the unread count onto the application's dock image. It only makes images; showing them is
// the dock tile's business.
#pragma once

#include <QImage>
#include <QRectF>
#include <QString>

class QBDockBadge
{
public:
    struct Layout
    {
        QString text;
        int fontSize = 0;
        QRectF rect; // from the image's bottom-left corner, upward, for a 128-point image
    };

    // How a count of one or more is written: bigger counts get smaller type, and four digits "Lots".
    static Layout layoutForCount(int count);
    // The dock image with the count drawn over it, centred, black, in Helvetica with kerning -1.5.
    static QImage image(const QImage &dockImage, int count);
};

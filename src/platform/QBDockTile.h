// The application's icon as the desktop shows it, on which the unread badge is drawn. The desktop
// program supplies one; it only shows images, it never decides what they say.
#pragma once

#include <QImage>

class QBDockTile
{
public:
    virtual ~QBDockTile() = default;

    // The image named "dockicon", on which a badge is drawn.
    virtual QImage dockImage() const = 0;
    virtual void setIcon(const QImage &image) = 0;
    // Back to the application's own icon.
    virtual void resetIcon() = 0;
};

// The small pictures of the source list and the folder menu, looked up by name: a PNG of that name in
// the resources when there is one, else drawn here in code. It never answers a null image for a known name.
#pragma once

#include <QImage>
#include <QString>

class SourceListImages
{
public:
    // "library16", "search16", "folder16", "folder", "feed16", "feed", "article16"; the names ending in
    // 16 are 16 points square, the others 32, drawn with devicePixelRatio pixels per point so that they
    // stay sharp on a high-density screen. An unknown name answers a null image.
    static QImage imageNamed(const QString &name, qreal devicePixelRatio = 1.0);

private:
    static QImage drawnImageNamed(const QString &name, qreal devicePixelRatio);
};

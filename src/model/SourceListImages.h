// The small pictures of the source list and the folder menu, looked up by name: a PNG of that name in
// the resources when there is one, else drawn here in code. It never answers a null image for a known name.
#pragma once

#include <QImage>
#include <QString>

class SourceListImages
{
public:
    // "library16", "search16", "folder16", "folder", "feed16", "feed", "article16"; the names ending in
    // 16 are 16 pixels square, the others 32. An unknown name answers a null image.
    static QImage imageNamed(const QString &name);

private:
    static QImage drawnImageNamed(const QString &name);
};

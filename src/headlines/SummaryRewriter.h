// Rewrites article summaries before they reach the headline page: image and division tags lose their
// sizing, and photo-site pictures are swapped for their large form. It never escapes or drops text.
#pragma once

#include <QString>

class SummaryRewriter
{
public:
    // Images keep only an http address and their alternative text; divisions keep only their class.
    static QString stripImagingSizesFromSummary(const QString &summary);
    // Every tag named T, left to right, rewritten as stripImagingSizesFromSummary describes.
    static QString stripAtribsFromTag(const QString &tag, const QString &inSource);
    // The first long image tag of a photo page points at the photo site's large picture instead.
    static QString modifiedPhotoSummary(const QString &summary);

private:
    static QString strippedTag(const QString &name, const QString &tagText);
};

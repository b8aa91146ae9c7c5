// Rewrites the full text of a photo-site article so that its page shows the site's large picture. It
// works on feed text before the sanitiser reads it, and never escapes or drops anything itself.
#pragma once

#include <QString>

class SummaryRewriter
{
public:
    // The first long image tag of a photo page points at the photo site's large picture instead.
    static QString modifiedPhotoSummary(const QString &summary);
};

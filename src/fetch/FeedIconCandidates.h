// Where a feed's icon is looked for, in order: three well-known files at the site's own origin, then
// the site's home page, whose icon link is the last try. It names addresses and contexts; it fetches
// nothing and never guesses a scheme or port the feed did not use.
#pragma once

#include "model/FeedLibrary.h"

#include <QUrl>
#include <QVariantMap>

class FeedIconCandidates
{
public:
    enum Candidate
    {
        PrecomposedTouchIcon = 1,
        TouchIcon = 2,
        Favicon = 3,
        // A page transfer: the icon link it names becomes the last candidate.
        HomePage = 4,
        PageIcon = 5
    };

    // The scheme, host and port of the feed's site, else of the feed's own address, which also gives
    // the scheme and port of a site on its host; empty when neither is a web address.
    static QUrl siteOrigin(const Feed &feed);
    // The address of a candidate from 1 to 4; empty when the feed names no site.
    static QUrl url(const Feed &feed, int candidate);
    // The context dictionary of an icon transfer.
    static QVariantMap context(const FeedPtr &feed, int candidate);
};

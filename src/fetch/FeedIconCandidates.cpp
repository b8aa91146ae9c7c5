#include "fetch/FeedIconCandidates.h"

#include "fetch/Downloader.h"
#include "reading/OutsideAddress.h"

namespace {

// A site on the feed's own host is asked on the feed's own scheme and port: a site address guessed from
// the host alone (a subscription list without home pages) has lost both.
bool onFeedHost(const Feed &feed)
{
    return OutsideAddress::isWebPage(feed.feed()) &&
           (!OutsideAddress::isWebPage(feed.link()) ||
            feed.link().host().compare(feed.feed().host(), Qt::CaseInsensitive) == 0);
}

} // namespace

QUrl FeedIconCandidates::siteOrigin(const Feed &feed)
{
    const QUrl site = onFeedHost(feed) ? feed.feed() : feed.link();
    if (!OutsideAddress::isWebPage(site))
        return {};
    QUrl origin;
    origin.setScheme(site.scheme().toLower());
    origin.setHost(site.host());
    origin.setPort(site.port());
    return origin;
}

QUrl FeedIconCandidates::url(const Feed &feed, int candidate)
{
    const QUrl origin = siteOrigin(feed);
    if (origin.isEmpty())
        return {};
    QUrl address = origin;
    switch (candidate) {
    case PrecomposedTouchIcon:
        address.setPath(QStringLiteral("/apple-touch-icon-precomposed.png"));
        return address;
    case TouchIcon:
        address.setPath(QStringLiteral("/apple-touch-icon.png"));
        return address;
    case Favicon:
        address.setPath(QStringLiteral("/favicon.ico"));
        return address;
    case HomePage:
        if (!OutsideAddress::isWebPage(feed.link())) {
            address.setPath(QStringLiteral("/"));
            return address;
        }
        address = feed.link();
        address.setScheme(origin.scheme());
        address.setPort(origin.port());
        return address;
    default:
        return {};
    }
}

QVariantMap FeedIconCandidates::context(const FeedPtr &feed, int candidate)
{
    return {{DownloadTypeKey, int(Downloader::DownloadTypeIcon)},
            {DownloadFeedKey, QVariant::fromValue(feed)},
            {IconTypeKey, candidate}};
}

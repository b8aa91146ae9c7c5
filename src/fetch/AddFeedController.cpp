#include "fetch/AddFeedController.h"

#include "reading/QBLiberalRSSParser.h"

#include <QStringList>

QMap<QString, QUrl> AddFeedController::websitePropertiesFromHTML(const QString &html, const QUrl &withBaseURL)
{
    QMap<QString, QUrl> properties;
    const QString base = withBaseURL.toString();
    qsizetype position = 0;
    while (true) {
        const qsizetype start = html.indexOf(QStringLiteral("<link"), position, Qt::CaseInsensitive);
        if (start < 0)
            break;
        const qsizetype end = html.indexOf(u'>', start);
        if (end < 0)
            break;
        const QString linkTag = html.sliced(start, end - start + 1);
        position = end + 1;
        const QString href = QBLiberalRSSParser::tag(linkTag, QStringLiteral("href"));
        if (href.isEmpty())
            continue;
        const QUrl address(resolvedAddress(href, base));
        for (const QString &key : keysForLink(linkTag))
            properties.insert(key, address);
    }
    return properties;
}

QString AddFeedController::resolvedAddress(const QString &href, const QString &base)
{
    if (href.startsWith(u'/')) {
        const QString trimmed = base.endsWith(u'/') ? base.chopped(1) : base;
        return QStringLiteral("%1%2").arg(trimmed, href);
    }
    if (!href.startsWith(QStringLiteral("http")) && !href.startsWith(QStringLiteral("feed")))
        return QStringLiteral("%1/%2").arg(base, href);
    return href;
}

QStringList AddFeedController::keysForLink(const QString &linkTag)
{
    const QString rel = QBLiberalRSSParser::tag(linkTag, QStringLiteral("rel")).trimmed().toLower();
    if (rel == u"apple-touch-icon" || rel == u"apple-touch-icon-precomposed")
        return {QStringLiteral("apple-touch-icon")};
    if (rel == u"icon")
        return {QStringLiteral("icon")};
    if (rel != u"alternate")
        return {};
    const QString type = QBLiberalRSSParser::tag(linkTag, QStringLiteral("type")).trimmed().toLower();
    if (type == u"application/rss+xml")
        return {QStringLiteral("alternate"), QStringLiteral("rss")};
    if (type == u"application/atom+xml")
        return {QStringLiteral("alternate"), QStringLiteral("atom")};
    return {QStringLiteral("alternate")};
}

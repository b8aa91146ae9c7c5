// The subscribe panel's work that needs no window: finding the feeds and icons a web page links to.
// It only reads the text it is given; it never fetches anything itself.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QUrl>

class AddFeedController
{
public:
    // The link tags of a page as a map from "apple-touch-icon", "icon", "alternate", "rss" and "atom" to
    // the address each names, made absolute against the base; a later tag of a kind replaces an earlier.
    static QMap<QString, QUrl> websitePropertiesFromHTML(const QString &html, const QUrl &withBaseURL);

private:
    static QString resolvedAddress(const QString &href, const QString &base);
    static QStringList keysForLink(const QString &linkTag);
};

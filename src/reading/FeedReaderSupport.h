// What the RSS and Atom readers do alike once an item is read: its short summary, its thumbnail, the
// decision whether it is new, and placing the new ones in the feed. It knows nothing of either format.
#pragma once

#include "model/FeedLibrary.h"

#include <QString>
#include <QUrl>

class FeedReaderSupport
{
public:
    // What a Media RSS content element offers: an enclosure when it is audio or video, a picture when
    // it is an image, nothing otherwise (a player page, a flash file).
    struct MediaContent
    {
        std::shared_ptr<Enclosure> enclosure;
        QUrl picture;
    };

    // The address a document's text names, with spaces and other stray characters percent-encoded;
    // none when even that gives no valid address (the OPML reader reads addresses this way too).
    static QUrl urlFromText(const QString &text);
    // The same, with a relative address resolved against base when there is one.
    static QUrl urlFromText(const QString &text, const QUrl &base);
    // Only a web address can stand as a base: one with another scheme would give every relative link it.
    static bool isWebAddress(const QUrl &url);
    // The byte count a feed declares for a media file: its leading digits, 0 when there are none.
    static quint64 declaredSize(QStringView text);
    static MediaContent mediaContent(const QUrl &url, const QString &type, const QString &medium,
                                     const QString &fileSize);
    // Markup becomes one space per outermost tag and text inside tags disappears.
    static QString textWithTagsAsSpaces(const QString &text);
    // The short summary shown in lists, made from text that no longer holds markup.
    static QString summaryFromPlainText(const QString &plainText);
    // The first picture named by a src attribute; relative paths are resolved against the feed's link.
    static QUrl imageURLInSummary(const QString &fullSummary, const QUrl &feedLink);
    // Sets the article's thumbnail from its full summary, or keeps the picture the feed named apart
    // when the summary shows none, and queues it for fetching; no picture at all, no change.
    static void findImageURLInSummary(const QString &fullSummary, const ArticlePtr &article,
                                      const QUrl &feedLink);

    // Whether the feed already holds the article (by guid); if so, the held one is marked as still in
    // the feed and the one just read is to be dropped, so nothing more need be made of it.
    static bool markKnownArticle(FeedLibrary &library, const FeedPtr &feed, const ArticlePtr &article);
    // A new article has its full text stored and is appended to newArticles without that text, which
    // lives in the database from now on.
    static void addNewArticle(FeedLibrary &library, const FeedPtr &feed, const ArticlePtr &article,
                              ArticleList &newArticles);
    // New articles go above the older ones, in the order the document gave them.
    static void insertNewArticles(const FeedPtr &feed, const ArticleList &newArticles);
};

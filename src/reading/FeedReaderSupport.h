// What the RSS and Atom readers do alike once an item is read: its short summary, its thumbnail, the
// decision whether it is new, and placing the new ones in the feed. It knows nothing of either format.
#pragma once

#include "model/FeedLibrary.h"

#include <QString>
#include <QUrl>

class FeedReaderSupport
{
public:
    // The address a document's text names, or none when the text is not a valid address (the OPML
    // reader reads addresses this way too).
    static QUrl urlFromText(const QString &text);
    // Markup becomes one space per outermost tag and text inside tags disappears.
    static QString textWithTagsAsSpaces(const QString &text);
    // The short summary shown in lists, made from text that no longer holds markup.
    static QString summaryFromPlainText(const QString &plainText);
    // The first picture named by a src attribute; relative paths are resolved against the feed's link.
    static QUrl imageURLInSummary(const QString &fullSummary, const QUrl &feedLink);
    // Sets the article's thumbnail from its full summary and queues it for fetching; no picture, no change.
    static void findImageURLInSummary(const QString &fullSummary, const ArticlePtr &article,
                                      const QUrl &feedLink);

    // A known article is only marked as still in the feed; a new one has its full text stored and is
    // appended to newArticles without that text, which lives in the database from now on.
    static void finishArticle(FeedLibrary &library, const FeedPtr &feed, const ArticlePtr &article,
                              ArticleList &newArticles);
    // New articles go above the older ones, in the order the document gave them.
    static void insertNewArticles(const FeedPtr &feed, const ArticleList &newArticles);
};

// Writes the fragments of the headline page: sort bars, article blocks with their list entries or tiles,
// info bars, enclosure lines, the more-articles bar and the no-match message. It decides nothing about
// which articles are shown, and no feed text reaches a fragment but through the sanitiser.
#pragma once

#include "model/Article.h"
#include "platform/CalendarDate.h"

#include <QHash>
#include <QString>
#include <functional>

class HeadlineRenderer
{
public:
    // Everything a page's fragments depend on, fixed for one build of the page.
    struct Page
    {
        QString resources;          // the resource folder's file URL, ending with a slash
        QString thumbnailFolder;    // the folder of article thumbnails, one sub-folder per feed
        qsizetype articleCount = 0; // entries left after filtering; one means the single-article page
        int displayMode = 0;        // 0 list, 1 picture tiles
        int sortMethod = 1;         // 1 by date, 2 by feed, 3 by state
        int filterMethod = 0;
        bool photoMode = false;
        bool photoSummaryAsIs = false; // photo pages whose summary already shows the large picture
        bool openInBrowser = false;
        bool showInfoBar = true;
        bool showSummaries = true;
        bool holdRemotePictures = false; // pictures in feed text wait for a click
        double articleLength = 1.0;      // how much of each summary a list of several articles shows, 0 to 1
        QDateTime now = QDateTime::currentDateTime(); // one present moment for every friendly date
    };
    using LongSummary = std::function<QString(const ArticlePtr &)>;

    HeadlineRenderer(const Page &page, LongSummary longSummary);

    const Page &page() const { return m_page; }
    bool isTilePage() const { return m_page.displayMode == 1 && m_page.articleCount != 1; }

    // The context is the group's day when grouping by date, else null.
    QString sortBarWithTitle(const QString &title, const CalendarDate &context) const;
    QString moreArticlesBar(bool afterDay) const;
    QString noMatchMessage() const;
    // Sorts the group newest first when grouping by date and shortens it under the recent filters.
    QString articleBlockWithArticles(const QList<ArticlePtr> &articles);
    QString tile(const ArticlePtr &article) const;
    QString listEntry(const ArticlePtr &article, qsizetype position) const;
    QString infoBarForArticle(const ArticlePtr &article) const;
    QString enclosureLine(const Article &article) const;
    // How many articles of a group the filter lets a block show.
    qsizetype renderedCount(qsizetype groupSize) const;
    // The thumbnail's file URL, or an empty text when the article has no thumbnail on disk.
    QString thumbnailURL(const ArticlePtr &article) const;

private:
    QString statusIcon(int state) const;
    QString entrySummary(const ArticlePtr &article) const;
    QString commandAttribute(const QString &uniqueID) const;
    // Feed, author and enclosure texts repeat on every article of a page; each is sanitised once a build.
    QString inlineText(const QString &text) const;
    QString authorLink(const QBPerson &author) const;

    Page m_page;
    LongSummary m_longSummary;
    mutable QHash<QString, QString> m_inlineTexts;
    mutable QHash<QString, QString> m_mailLinks;
};

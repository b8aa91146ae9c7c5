// Writes the fragments of the headline page: sort bars, article blocks with their list entries or tiles,
// info bars, enclosure lines, the more-articles bar and the no-match message. It decides nothing about
// which articles are shown, and it never escapes feed text: the page's security policy contains it.
#pragma once

#include "model/Article.h"
#include "platform/CalendarDate.h"

#include <QString>
#include <QStringList>
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
        double articleLength = 1.0; // how much of each summary a list of several articles shows, 0 to 1
        QDateTime now = QDateTime::currentDateTime(); // one present moment for every friendly date
    };
    using LongSummary = std::function<QString(const ArticlePtr &)>;

    HeadlineRenderer(const Page &page, LongSummary longSummary);

    const Page &page() const { return m_page; }
    bool isTilePage() const { return m_page.displayMode == 1 && m_page.articleCount != 1; }
    // The onclick texts written so far, for the page's security policy.
    QStringList clickHandlers() const { return m_clickHandlers; }

    // The context is the group's day when grouping by date, else null.
    QString sortBarWithTitle(const QString &title, const CalendarDate &context) const;
    QString moreArticlesBar(bool afterDay) const;
    QString noMatchMessage() const;
    // Sorts the group newest first when grouping by date and shortens it under the recent filters.
    QString articleBlockWithArticles(const QList<ArticlePtr> &articles);
    QString tile(const ArticlePtr &article) const;
    QString listEntry(const ArticlePtr &article, qsizetype position);
    QString infoBarForArticle(const ArticlePtr &article) const;
    static QString enclosureLine(const Article &article);
    // How many articles of a group the filter lets a block show.
    qsizetype renderedCount(qsizetype groupSize) const;
    // The thumbnail's file URL, or an empty text when the article has no thumbnail on disk.
    QString thumbnailURL(const ArticlePtr &article) const;

private:
    QString statusIcon(int state) const;
    QString entrySummary(const ArticlePtr &article) const;
    QString clickAttribute(const QString &uniqueID);

    Page m_page;
    LongSummary m_longSummary;
    QStringList m_clickHandlers;
};

// Pages are built from many short pieces: each expression makes one allocation instead of one per piece.
#define QT_USE_QSTRINGBUILDER

#include "headlines/HeadlineRenderer.h"

#include "headlines/ArticlePageText.h"
#include "headlines/SummaryExcerpt.h"
#include "headlines/SummaryRewriter.h"
#include "model/Feed.h"
#include "platform/LocalizedStrings.h"
#include "reading/HTMLSanitiser.h"
#include "reading/OutsideAddress.h"
#include "reading/QBUtilities.h"

#include <QFileInfo>
#include <QUrl>
#include <algorithm>

namespace {
// More thumbnails than this in one group make a long page slow to show for little gain.
constexpr qsizetype thumbnailsPerGroup = 20;

// The page allows no inline style: a tile's colour by state is a class of the stylesheet.
QString tileColourClass(int state)
{
    switch (state) {
    case Article::New:
        return QStringLiteral("tileNew");
    case Article::Unread:
        return QStringLiteral("tileUnread");
    default:
        return QStringLiteral("tileRead");
    }
}

QString sortMethodKey(int sortMethod)
{
    switch (sortMethod) {
    case 1:
        return QStringLiteral("SortArticlesByDate");
    case 2:
        return QStringLiteral("SortArticlesByFeed");
    case 3:
        return QStringLiteral("SortArticlesByState");
    default:
        return {};
    }
}

QString filterMethodKey(int filterMethod)
{
    switch (filterMethod) {
    case 0:
        return QStringLiteral("FilterNone");
    case 1:
        return QStringLiteral("FilterToday");
    case 2:
        return QStringLiteral("FilterThisWeek");
    case 5:
        return QStringLiteral("Filter5Recent");
    case 6:
        return QStringLiteral("Filter10Recent");
    case 7:
        return QStringLiteral("Filter20Recent");
    case 10:
        return QStringLiteral("FilterNew");
    case 11:
        return QStringLiteral("FilterUnread");
    case 12:
        return QStringLiteral("FilterRead");
    default:
        return {};
    }
}

QString localizedOrUnknown(const QString &key)
{
    return key.isEmpty() ? QStringLiteral("Unknown method") : LocalizedStrings::text(key);
}
} // namespace

HeadlineRenderer::HeadlineRenderer(const Page &page, LongSummary longSummary)
    : m_page(page), m_longSummary(std::move(longSummary))
{
}

QString HeadlineRenderer::sortBarWithTitle(const QString &groupTitle, const CalendarDate &context) const
{
    const QString &R = m_page.resources;
    const QString title = inlineText(groupTitle);
    if (m_page.displayMode == 1 && m_page.articleCount >= 2) {
        if (m_page.sortMethod == 1)
            return QStringLiteral("<div class='newsItem'><div class='calendarCell'><h1>") +
                   context.toString(QStringLiteral("%d")) + QStringLiteral("</h1><h3>") +
                   context.toString(QStringLiteral("%B")) + QStringLiteral("<br>") +
                   context.toString(QStringLiteral("%A")) + QStringLiteral("</h3></div></div>");
        return QStringLiteral("<div class='newsItem'><div class='feedCell'><h1>") + title +
               QStringLiteral("</h1></div></div>");
    }
    QString icon;
    if (m_page.sortMethod == 3)
        icon = QStringLiteral("<img src=\"") + R +
               QStringLiteral("/state.png\" width=\"16\" height=\"16\" class=\"statusIcon\" />");
    else if (m_page.sortMethod == 1)
        icon = QStringLiteral("<img src=\"") + R +
               QStringLiteral("/Calendar16.png\" width=\"16\" height=\"16\" class=\"statusIcon\" />");
    else if (m_page.sortMethod == 2)
        icon = QStringLiteral("<img src=\"") + R +
               QStringLiteral("/feed32.png\" width=\"16\" height=\"16\" class=\"statusIcon\" />");
    if (m_page.photoMode)
        return QStringLiteral("<div class=\"sortBarPhotoMode\">") + icon + u' ' + title +
               QStringLiteral(" <img src=\"") + R +
               QStringLiteral(
                   "/photomode.png\" width=\"20\" height=\"20\" class=\"statusIconPhoto\" /></div>\n");
    return QStringLiteral("<div class=\"sortbar\">") + icon + u' ' + title + QStringLiteral("</div>\n");
}

QString HeadlineRenderer::moreArticlesBar(bool afterDay) const
{
    const QString start = QStringLiteral("<br clear=\"all\" /><div class=\"moreArticlesBar\">");
    if (afterDay)
        return start + QStringLiteral("<a href=\"quillbay:displayArticlesFromOffset\"><img src=\"") +
               m_page.resources +
               QStringLiteral("/showmorebutton.png\" width=\"149\" height=\"30\" alt=\"Show More "
                              "Articles...\"></a></div> ");
    return start + QStringLiteral("<a href=\"quillbay:displayArticlesFromOffset\"><img src=\"") +
           m_page.resources + QStringLiteral("/showmorebutton.png\" alt=\"Show More Articles\"></a></div>");
}

QString HeadlineRenderer::noMatchMessage() const
{
    return QStringLiteral("<div class=\"alertBox\"><h2>") +
           LocalizedStrings::text(QStringLiteral("NoArticleMatches")) + QStringLiteral("</h2><p><b>") +
           LocalizedStrings::text(QStringLiteral("SortBy")) + QStringLiteral(": ") +
           localizedOrUnknown(sortMethodKey(m_page.sortMethod)) + QStringLiteral(", ") +
           LocalizedStrings::text(QStringLiteral("Show")) + QStringLiteral(": ") +
           localizedOrUnknown(filterMethodKey(m_page.filterMethod)) + QStringLiteral("</b></p><p>") +
           LocalizedStrings::text(QStringLiteral("SortExplanation")) + QStringLiteral("</p></div>");
}

qsizetype HeadlineRenderer::renderedCount(qsizetype groupSize) const
{
    switch (m_page.filterMethod) {
    case 5:
        return std::min<qsizetype>(groupSize, 5);
    case 6:
        return std::min<qsizetype>(groupSize, 10);
    case 7:
        return std::min<qsizetype>(groupSize, 20);
    default:
        return groupSize;
    }
}

QString HeadlineRenderer::articleBlockWithArticles(const QList<ArticlePtr> &articles)
{
    QList<ArticlePtr> group = articles;
    if (m_page.sortMethod == 1) {
        std::stable_sort(group.begin(), group.end(), [](const ArticlePtr &a, const ArticlePtr &b) {
            return a->legacyPublicationDate().moment() > b->legacyPublicationDate().moment();
        });
    }
    QString block = QStringLiteral("<div class=\"articles\">\n");
    if (group.isEmpty())
        block += QStringLiteral(
            "<div class=\"article\"><div class=\"articleMessage\">No articles to display</div></div>");
    const qsizetype count = renderedCount(group.size());
    for (qsizetype i = 0; i < count; ++i) {
        if (isTilePage()) {
            block += tile(group.at(i));
        } else {
            block += listEntry(group.at(i), i);
            if (i + 1 < count)
                block += QStringLiteral("<div class=\"divider\"></div>");
        }
    }
    block += QStringLiteral("</div>\n");
    return block;
}

QString HeadlineRenderer::thumbnailURL(const ArticlePtr &article) const
{
    const std::shared_ptr<Feed> feed = article->source();
    if (!feed)
        return {};
    const QString path = m_page.thumbnailFolder + u'/' + feed->uniqueID() + u'/' + article->uniqueID() +
                         QStringLiteral(".jpg");
    if (!QFileInfo::exists(path))
        return {};
    return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
}

QString HeadlineRenderer::tile(const ArticlePtr &article) const
{
    const QString &R = m_page.resources;
    const QString id = article->uniqueID();
    const QString title = ArticlePageText::title(*article);
    const int state = article->state();
    QString html = state == Article::Read ? QStringLiteral("<div class='newsItemRead'>\n")
                                          : QStringLiteral("<div class='newsItem'>\n");
    html += QStringLiteral("<div class='imageCell ") + tileColourClass(state) + QStringLiteral("'>\n");
    const QString thumbnail = thumbnailURL(article);
    if (!thumbnail.isEmpty()) {
        if (state == Article::New)
            html +=
                QStringLiteral("<img src=\"") + R +
                QStringLiteral("qb-new-unread.png\" width=\"24\" height=\"24\" class=\"statusIconPM\"/>\n");
        else if (state == Article::Unread)
            html += QStringLiteral("<img src=\"") + R +
                    QStringLiteral("qb-unread.png\" width=\"24\" height=\"24\" class=\"statusIconPM\"/>\n");
        if (!m_page.openInBrowser)
            html += QStringLiteral("<div class=\"followLink\"><a href=\"quillbay:open=") + id +
                    QStringLiteral("\"><img src=\"") + R +
                    QStringLiteral(
                        "qb-followlink.png\" width=\"20\" height=\"20\" class=\"statusIcon\"></a></div>") +
                    QStringLiteral("<a href=\"quillbay:article=") + id + QStringLiteral("\">");
        else
            html += QStringLiteral("<a href=\"quillbay:open=") + id + QStringLiteral("\">");
        html += QStringLiteral("<img src=\"") + thumbnail + QStringLiteral("\" alt=\"") +
                SummaryExcerpt::plainText(title).toHtmlEscaped() +
                QStringLiteral("\" class=\"thumbnail\" width=\"100%\" height=\"100%\"></a>");
    } else {
        html += QStringLiteral("<div class=\"textOnlyCell\">");
        if (!m_page.openInBrowser)
            html += QStringLiteral("<div class=\"followLink\"><a href=\"quillbay:open=") + id +
                    QStringLiteral("\"><img src=\"") + R +
                    QStringLiteral("qb-followlink.png\" width=\"20\" height=\"20\" class=\"statusIcon\">"
                                   "</a></div>") +
                    QStringLiteral("<div class=\"textCellPadding\"><a href=\"quillbay:article=") + id +
                    QStringLiteral("\">") + title + QStringLiteral("</a>");
        else
            html += QStringLiteral("<div class=\"textCellPadding\"><a href=\"quillbay:open=") + id +
                    QStringLiteral("\">") + title + QStringLiteral("</a>");
        html += QStringLiteral("</div></div>");
    }
    html += QStringLiteral("</div>\n</div>\n");
    return html;
}

// The page's own script follows this command when the entry is clicked anywhere but on a link; the
// page carries no inline handlers, so that no handler text from a feed could ever run.
QString HeadlineRenderer::commandAttribute(const QString &uniqueID) const
{
    if (m_page.articleCount == 1)
        return {};
    return (m_page.openInBrowser ? QStringLiteral("data-command=\"quillbay:open=")
                                 : QStringLiteral("data-command=\"quillbay:article=")) +
           uniqueID + u'"';
}

QString HeadlineRenderer::statusIcon(int state) const
{
    const QString &R = m_page.resources;
    switch (state) {
    case Article::Read:
        return QStringLiteral("<img src=\"") + R + QStringLiteral("read.png\" class=\"statusIcon\" />\n");
    case Article::New:
        return QStringLiteral("<img src=\"") + R +
               QStringLiteral("new.png\" width=\"16\" height=\"16\" class=\"statusIcon\" />\n");
    case Article::Unread:
        return QStringLiteral("<img src=\"") + R +
               QStringLiteral("unread.png\"  width=\"16\" height=\"16\" class=\"statusIcon\" />\n");
    default:
        return {};
    }
}

QString HeadlineRenderer::listEntry(const ArticlePtr &article, qsizetype position) const
{
    const QString &R = m_page.resources;
    const QString id = article->uniqueID();
    const QString title = ArticlePageText::title(*article);
    const bool single = m_page.articleCount == 1;
    const QString prefix = single ? QStringLiteral("single") : QString();
    QString html;
    if (m_page.photoMode)
        html = QStringLiteral("<div class=\"singleArticlePhotoMode\">\n");
    else
        html = QStringLiteral("<div class=\"") + prefix + QStringLiteral("article\" ") +
               commandAttribute(id) + QStringLiteral(">\n");
    if (m_page.articleCount >= 2 && position < thumbnailsPerGroup && m_page.showSummaries) {
        const QString thumbnail = thumbnailURL(article);
        if (!thumbnail.isEmpty())
            html += QStringLiteral("<img class=\"thumbnail\" src=\"") + thumbnail +
                    QStringLiteral("\" width=\"140\" height=\"140\"/>");
    }
    html += QStringLiteral("<div class=\"") + prefix + QStringLiteral("articleTitle\">\n");
    html += statusIcon(article->state());
    if (m_page.articleCount >= 2 && !m_page.openInBrowser)
        html += QStringLiteral("<a href=\"quillbay:article=") + id + QStringLiteral("\">") + title +
                QStringLiteral("</a>&nbsp;<a href=\"quillbay:open=") + id + QStringLiteral("\"><img src=\"") +
                R + QStringLiteral("followlink.png\" width=\"16\" height=\"16\" class=\"statusIcon\"></a>");
    else
        html += QStringLiteral("<a href=\"quillbay:open=") + id + QStringLiteral("\">") + title +
                QStringLiteral("</a>");
    html += QStringLiteral("\n</div>\n");
    if (single || m_page.showSummaries)
        html += QStringLiteral("<div class=\"summary\">\n") + entrySummary(article) +
                QStringLiteral("\n</div>\n");
    if (article->enclosure())
        html += enclosureLine(*article);
    html += infoBarForArticle(article);
    html += QStringLiteral("\n</div>\n");
    return html;
}

QString HeadlineRenderer::entrySummary(const ArticlePtr &article) const
{
    if (m_page.articleCount != 1)
        return SummaryExcerpt::excerpt(ArticlePageText::summary(*article, m_page.holdRemotePictures),
                                       m_page.articleLength);
    // One article a page: its full text is sanitised as the page is built, after the photo rewriting.
    QString full = m_longSummary ? m_longSummary(article) : QString();
    if (m_page.photoMode && !m_page.photoSummaryAsIs)
        full = SummaryRewriter::modifiedPhotoSummary(full);
    return HTMLSanitiser::sanitised(
        full, {ArticlePageText::baseAddress(*article), HTMLSanitiser::Flow, m_page.holdRemotePictures});
}

QString HeadlineRenderer::enclosureLine(const Article &article) const
{
    const std::shared_ptr<Enclosure> enclosure = article.enclosure();
    return QStringLiteral(
               "<div class=\"enclosure\">\n<span><b>Enclosure:</b> <a href=\"quillbay:enclosure=") +
           article.uniqueID() + QStringLiteral("\">") + inlineText(enclosure->title()) +
           QStringLiteral("</a></span>\n<span><b>Size:</b> ") +
           QBUtilities::longToFileSize(enclosure->size()) + QStringLiteral("</span>\n<span><b>Type:</b> ") +
           inlineText(enclosure->mimeType()) + QStringLiteral("</span>\n</div>\n");
}

QString HeadlineRenderer::inlineText(const QString &text) const
{
    if (!HTMLSanitiser::mayChange(text))
        return text;
    auto found = m_inlineTexts.constFind(text);
    if (found == m_inlineTexts.cend())
        found = m_inlineTexts.insert(text, HTMLSanitiser::sanitised(text, {QUrl(), HTMLSanitiser::Phrasing}));
    return *found;
}

// The mail link when the author gives a usable address, else the web link, else nothing; either kind
// only as the page's sanitiser would let it through.
QString HeadlineRenderer::authorLink(const QBPerson &author) const
{
    const QString icon = QStringLiteral("\"><img src=\"") + m_page.resources +
                         QStringLiteral("followlink.png\" width=\"16\" height=\"16\"></a>\n");
    if (!author.email().isEmpty()) {
        auto found = m_mailLinks.constFind(author.email());
        if (found == m_mailLinks.cend()) {
            const QUrl mail = OutsideAddress::cleanedMailto(QUrl(QStringLiteral("mailto:") + author.email()));
            found = m_mailLinks.insert(author.email(),
                                       mail.isEmpty() ? QString()
                                                      : mail.toString(QUrl::FullyEncoded).toHtmlEscaped());
        }
        return found->isEmpty() ? QStringLiteral("\n") : QStringLiteral("<a href=\"") + *found + icon;
    }
    const QUrl web = author.URI();
    if (OutsideAddress::isWebPage(web))
        return QStringLiteral("<a href=\"") + web.toString(QUrl::FullyEncoded).toHtmlEscaped() + icon;
    return QStringLiteral("\n");
}

QString HeadlineRenderer::infoBarForArticle(const ArticlePtr &article) const
{
    if (!m_page.showInfoBar)
        return {};
    const CalendarDate date = article->legacyPublicationDate();
    QString html = QStringLiteral("<div class=\"articleInfo\">\n<b>Published:</b> <a href=\"quillbay:date=") +
                   date.toString() + QStringLiteral("\">") +
                   QBUtilities::dateToFriendlyDate(date, true, m_page.now) + QStringLiteral("</a> &nbsp;\n");
    if (const std::shared_ptr<Feed> feed = article->source())
        html += QStringLiteral("<b>Source:</b> <a href=\"quillbay:feed=") + feed->uniqueID() +
                QStringLiteral("\">") + inlineText(feed->title()) + QStringLiteral("</a> &nbsp;\n");
    const QList<std::shared_ptr<QBPerson>> authors = article->authors();
    if (!authors.isEmpty() && authors.first()) {
        const QBPerson &author = *authors.first();
        // The command carries the name escaped, so that no quotation mark in it can end the attribute.
        html += QStringLiteral("<b>Author:</b> <a href=\"quillbay:author=") +
                QString::fromLatin1(QUrl::toPercentEncoding(author.name())) + QStringLiteral("\">") +
                inlineText(author.name()) + QStringLiteral("</a>&nbsp;") + authorLink(author);
    }
    html += QStringLiteral("</div>\n");
    return html;
}

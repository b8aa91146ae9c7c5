#include "headlines/HeadlineArrangement.h"

#include "model/Feed.h"
#include "reading/QBUtilities.h"

#include <QHash>
#include <QMap>
#include <algorithm>

namespace {
constexpr int byDateMethod = 1;
constexpr int byFeedMethod = 2;
constexpr int byStateMethod = 3;

// Midnight of the date's own calendar day, in the machine's time zone, for titles and ordering.
CalendarDate startOfDay(const QDate &day)
{
    const QDateTime midnight(day, QTime(0, 0));
    return CalendarDate(midnight.toUTC(), midnight.offsetFromUtc());
}
} // namespace

HeadlineArrangement::HeadlineArrangement(HeadlineRenderer &renderer, qsizetype cap)
    : m_renderer(renderer), m_cap(cap)
{
}

QString HeadlineArrangement::displayArrangedHeadlines(const TreeNodeList &items)
{
    m_cuts = 0;
    QList<ArticlePtr> articles;
    articles.reserve(items.size());
    for (const TreeNodePtr &item : items) {
        if (item && item->kindOfObject() == TreeNode::ArticleKind)
            articles.append(std::static_pointer_cast<Article>(item));
    }
    switch (m_renderer.page().sortMethod) {
    case byDateMethod:
        return byDate(articles);
    case byFeedMethod:
        return byFeed(articles);
    case byStateMethod:
        return byState(articles);
    default:
        return {};
    }
}

QString HeadlineArrangement::byState(const QList<ArticlePtr> &articles)
{
    const struct
    {
        int state;
        const char *title;
    } groups[] = {{Article::New, "New Unread Articles"},
                  {Article::Unread, "Unread Articles"},
                  {Article::Read, "Read Articles"}};
    QString html;
    for (const auto &group : groups) {
        QList<ArticlePtr> members;
        for (const ArticlePtr &article : articles) {
            if (article->state() == group.state)
                members.append(article);
        }
        if (members.isEmpty())
            continue;
        html += m_renderer.sortBarWithTitle(QString::fromLatin1(group.title), CalendarDate());
        html += m_renderer.articleBlockWithArticles(members);
    }
    return html.isEmpty() ? m_renderer.noMatchMessage() : html;
}

QString HeadlineArrangement::byFeed(const QList<ArticlePtr> &articles)
{
    QList<std::shared_ptr<Feed>> feeds;
    QHash<const Feed *, QList<ArticlePtr>> members;
    for (const ArticlePtr &article : articles) {
        const std::shared_ptr<Feed> feed = article->source();
        if (!feed)
            continue;
        auto found = members.find(feed.get());
        if (found == members.end()) {
            feeds.append(feed);
            found = members.insert(feed.get(), {});
        }
        found->append(article);
    }
    if (feeds.isEmpty())
        return m_renderer.noMatchMessage();
    std::stable_sort(feeds.begin(), feeds.end(),
                     [](const std::shared_ptr<Feed> &a, const std::shared_ptr<Feed> &b) {
                         return a->title() < b->title();
                     });
    QString html;
    for (const std::shared_ptr<Feed> &feed : feeds) {
        const QList<ArticlePtr> &group = members[feed.get()];
        const bool cut = group.size() > m_cap;
        html += m_renderer.sortBarWithTitle(feed->title(), CalendarDate());
        html += m_renderer.articleBlockWithArticles(cut ? group.first(m_cap) : group);
        if (cut) {
            html += m_renderer.moreArticlesBar(false);
            ++m_cuts;
        }
    }
    return html;
}

QString HeadlineArrangement::byDate(const QList<ArticlePtr> &articles)
{
    // Keyed by the day as the article's own date reads it; the map's last key is the newest day.
    QMap<QDate, QList<ArticlePtr>> days;
    for (const ArticlePtr &article : articles) {
        const CalendarDate date = article->legacyPublicationDate();
        if (!date.isNull())
            days[date.localMoment().date()].append(article);
    }
    if (days.isEmpty())
        return m_renderer.noMatchMessage();
    QString html;
    qsizetype shown = 0;
    for (auto day = days.cend(); day != days.cbegin();) {
        --day;
        const CalendarDate midnight = startOfDay(day.key());
        html += m_renderer.sortBarWithTitle(
            QBUtilities::dateToFriendlyDate(midnight, false, m_renderer.page().now), midnight);
        html += m_renderer.articleBlockWithArticles(day.value());
        // A day is never split: the cut falls after the day that passes the cap.
        shown += day.value().size();
        if (shown > m_cap) {
            html += m_renderer.moreArticlesBar(true);
            ++m_cuts;
            break;
        }
    }
    return html;
}

#include "headlines/HeadlineFilter.h"

#include "model/Article.h"

namespace {
constexpr int today = 1;
constexpr int thisWeek = 2;
constexpr int onlyNew = 10;
constexpr int onlyUnread = 11;
constexpr int onlyRead = 12;
constexpr int daysBackInAWeek = 7;

bool passes(const Article &article, int filterMethod, const QDate &now)
{
    switch (filterMethod) {
    case today:
    case thisWeek: {
        // The date is read at its own offset, as the reader saw it; today is the user's local day.
        const CalendarDate date = article.legacyPublicationDate();
        if (date.isNull() || date.year() != now.year())
            return false;
        return filterMethod == today ? date.dayOfYear() == now.dayOfYear()
                                     : date.dayOfYear() >= now.dayOfYear() - daysBackInAWeek;
    }
    case onlyNew:
        return article.state() == Article::New;
    case onlyUnread:
        return article.state() != Article::Read;
    case onlyRead:
        return article.state() == Article::Read;
    default:
        return true;
    }
}
} // namespace

TreeNodeList HeadlineFilter::filterArticles(const TreeNodeList &items, int filterMethod, const QDateTime &now)
{
    if (items.size() < 2)
        return items;
    const QDate day = now.date();
    TreeNodeList kept;
    kept.reserve(items.size());
    for (const TreeNodePtr &item : items) {
        const auto *article = item && item->kindOfObject() == TreeNode::ArticleKind
                                  ? static_cast<const Article *>(item.get())
                                  : nullptr;
        if (!article || passes(*article, filterMethod, day))
            kept.append(item);
    }
    return kept;
}

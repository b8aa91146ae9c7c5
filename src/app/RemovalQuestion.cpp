#include "app/RemovalQuestion.h"

#include "app/DesktopServices.h"
#include "platform/LocalizedStrings.h"

#include <QCoreApplication>
#include <QLocale>

namespace {
QString counted(qsizetype count, const char *one, const char *many)
{
    return QCoreApplication::translate("RemovalQuestion", count == 1 ? one : many)
        .arg(QLocale().toString(count));
}
} // namespace

bool RemovalQuestion::confirm(DesktopServices &desktop, const TreeNodeList &items, bool fromVirtualSelection)
{
    const Counts counts = count(items);
    const QString remove = LocalizedStrings::text(QStringLiteral("RemoveFolder"));
    const QString cancel = LocalizedStrings::text(QStringLiteral("Cancel"));
    // One article picked from its own feed is removed as the source list always did, without a question.
    if (counts.articles > 1 || (counts.articles == 1 && fromVirtualSelection)) {
        if (!desktop.confirm(
                QCoreApplication::translate("RemovalQuestion", "Remove %1?")
                    .arg(counted(counts.articles, "%1 article", "%1 articles")),
                remove, cancel,
                QCoreApplication::translate(
                    "RemovalQuestion", "They are deleted from their feeds for good. This cannot be undone.")))
            return false;
    }
    if (counts.feedArticles == 0)
        return true;
    const QString feeds = counted(counts.feeds, "%1 feed", "%1 feeds");
    const QString articles = counted(counts.feedArticles, "%1 stored article", "%1 stored articles");
    return desktop.confirm(
        counts.feeds == 1
            ? QCoreApplication::translate("RemovalQuestion", "Remove %1 and its %2?").arg(feeds, articles)
            : QCoreApplication::translate("RemovalQuestion", "Remove %1 and their %2?").arg(feeds, articles),
        remove, cancel,
        QCoreApplication::translate("RemovalQuestion",
                                    "The stored articles are deleted for good. Subscribing "
                                    "again brings back only what the feed still offers."));
}

RemovalQuestion::Counts RemovalQuestion::count(const TreeNodeList &items)
{
    Counts counts;
    for (const TreeNodePtr &item : items) {
        if (item->kindOfObject() == TreeNode::ArticleKind)
            ++counts.articles;
        else
            countFeeds(item, counts);
    }
    return counts;
}

void RemovalQuestion::countFeeds(const TreeNodePtr &item, Counts &counts)
{
    if (item->kindOfObject() == TreeNode::FeedKind) {
        ++counts.feeds;
        counts.feedArticles += item->childCount();
    } else if (item->kindOfObject() == TreeNode::FolderKind) {
        for (const TreeNodePtr &child : item->children())
            countFeeds(child, counts);
    }
}

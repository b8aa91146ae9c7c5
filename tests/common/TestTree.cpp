#include "TestTree.h"

FolderPtr makeFolder(FeedLibrary &library, const QString &title, const TreeNodePtr &into)
{
    auto folder = std::make_shared<Folder>();
    folder->setTitle(title);
    const TreeNodePtr parent = into ? into : library.root();
    library.add(folder, parent, parent->childCount());
    return folder;
}

FeedPtr makeFeed(FeedLibrary &library, const QString &title, const TreeNodePtr &into)
{
    auto feed = std::make_shared<Feed>();
    feed->setTitle(title);
    feed->setFeed(QUrl("https://example.org/" + title + ".xml"));
    const TreeNodePtr parent = into ? into : library.root();
    library.add(feed, parent, parent->childCount());
    return feed;
}

void addArticles(const FeedPtr &feed, int count, int state)
{
    for (int i = 0; i < count; ++i) {
        auto article = std::make_shared<Article>();
        article->setState(state);
        article->setParent(feed);
        feed->TreeNode::addChild(article, feed->childCount());
    }
    feed->updateUnreadCount();
}

#include "TestTree.h"

FolderPtr makeFolder(FeedLibrary &library, const QString &title, const TreeNodePtr &into)
{
    auto folder = std::make_shared<Folder>();
    folder->setTitle(title);
    library.add(folder, into, into->childCount());
    return folder;
}

FeedPtr makeFeed(FeedLibrary &library, const QString &title, const TreeNodePtr &into)
{
    auto feed = std::make_shared<Feed>();
    feed->setTitle(title);
    feed->setFeed(QUrl("https://example.org/" + title + ".xml"));
    library.add(feed, into, into->childCount());
    return feed;
}

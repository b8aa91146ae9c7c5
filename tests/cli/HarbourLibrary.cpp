#include "HarbourLibrary.h"

#include "CliRun.h"
#include "TestFiles.h"
#include "model/FeedLibrary.h"
#include "reading/QBParser.h"

StoredFeed storeFeedFromFixture(const QString &fixture, const QString &folderTitle)
{
    FeedLibrary library;
    library.load();
    StoredFeed stored;
    TreeNodePtr into = library.root();
    if (!folderTitle.isEmpty()) {
        auto folder = std::make_shared<Folder>();
        folder->setTitle(folderTitle);
        library.add(folder, library.root(), library.root()->childCount());
        stored.folder = folder->uniqueID();
        into = folder;
    }
    auto feed = std::make_shared<Feed>();
    feed->setFeed(QUrl("http://harbour.example/rss.xml"));
    library.add(feed, into, 0);
    QBParser parser(library);
    parser.setFeed(feed);
    parser.setEncoding(feed->encoding());
    parser.processData(fileBytes(CliRun::dataFile(fixture)));
    library.save();
    stored.feed = feed->uniqueID();
    for (const TreeNodePtr &child : feed->children())
        stored.articles << child->uniqueID();
    return stored;
}

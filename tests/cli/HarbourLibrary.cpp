#include "HarbourLibrary.h"

#include "CliRun.h"
#include "model/FeedLibrary.h"
#include "reading/QBParser.h"

#include <QFile>
#include <gtest/gtest.h>

HarbourIDs storeHarbourLibrary()
{
    FeedLibrary library;
    library.load();
    auto coast = std::make_shared<Folder>();
    coast->setTitle("Coast");
    library.add(coast, library.root(), library.root()->childCount());
    auto feed = std::make_shared<Feed>();
    feed->setTitle("Harbour Notes");
    feed->setFeed(QUrl("http://harbour.example/rss.xml"));
    library.add(feed, coast, 0);
    QFile document(CliRun::dataFile("harbour-rss.xml"));
    EXPECT_TRUE(document.open(QIODevice::ReadOnly));
    QBParser parser(library);
    parser.setFeed(feed);
    parser.setEncoding(feed->encoding());
    parser.processData(document.readAll());
    library.save();
    HarbourIDs ids{feed->uniqueID(), coast->uniqueID(), {}, {}};
    for (const TreeNodePtr &child : feed->children()) {
        const auto article = std::static_pointer_cast<Article>(child);
        (article->title() == "Spring tide" ? ids.spring : ids.neap) = article->uniqueID();
    }
    return ids;
}

#include "HarbourLibrary.h"

#include "CliRun.h"
#include "model/FeedLibrary.h"
#include "reading/QBParser.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

void readFixture(FeedLibrary &library, const FeedPtr &feed, const QString &fixture)
{
    QFile document(CliRun::dataFile(fixture));
    EXPECT_TRUE(document.open(QIODevice::ReadOnly));
    QBParser parser(library);
    parser.setFeed(feed);
    parser.setEncoding(feed->encoding());
    parser.processData(document.readAll());
    library.save();
}

} // namespace

QStringList storeFeedFromFixture(const QString &fixture)
{
    FeedLibrary library;
    library.load();
    auto feed = std::make_shared<Feed>();
    library.add(feed, library.root(), 0);
    readFixture(library, feed, fixture);
    QStringList ids{feed->uniqueID()};
    for (const TreeNodePtr &child : feed->children())
        ids << child->uniqueID();
    return ids;
}

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
    readFixture(library, feed, "harbour-rss.xml");
    HarbourIDs ids{feed->uniqueID(), coast->uniqueID(), {}, {}};
    for (const TreeNodePtr &child : feed->children()) {
        const auto article = std::static_pointer_cast<Article>(child);
        (article->title() == "Spring tide" ? ids.spring : ids.neap) = article->uniqueID();
    }
    return ids;
}

#include "model/LibraryArchive.h"

#include "TestFiles.h"
#include "model/Article.h"
#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "model/Folder.h"
#include "model/VirtualFolder.h"

#include <gtest/gtest.h>

namespace {
std::shared_ptr<Feed> makeFeed(const QString &title, const std::shared_ptr<TreeNode> &parent)
{
    auto feed = std::make_shared<Feed>();
    feed->setTitle(title);
    feed->setDescription(title + " described");
    feed->setFeed(QUrl("https://example.org/" + title + ".xml"));
    feed->setLink(QUrl("https://example.org/" + title));
    feed->setParent(parent);
    parent->addChild(feed);
    return feed;
}

// Every stored field of every node, one line per node, with the identifier of the node's parent.
QStringList outline(const TreeNodePtr &node, const QString &indent = {})
{
    const auto parent = node->parent();
    QStringList fields{indent + node->uniqueID(), parent ? parent->uniqueID() : "-"};
    if (const auto feed = std::dynamic_pointer_cast<Feed>(node)) {
        return {(fields << "feed" << feed->title() << feed->description() << feed->username()
                        << feed->password() << feed->encoding() << feed->link().toString()
                        << feed->feed().toString() << feed->publicationDate().toString()
                        << QString::number(feed->feedType()) << QString::number(feed->retentionPeriod())
                        << QString::number(feed->updateInterval())
                        << QString::number(feed->customIconAvailable()) << feed->failureReason()
                        << feed->lastSucceeded().toString(Qt::ISODate) << feed->entityTag()
                        << feed->lastModified() << feed->retryAfter().toString(Qt::ISODate)
                        << feed->iconChecked().toString(Qt::ISODate))
                    .join(" | ")};
    }
    if (const auto article = std::dynamic_pointer_cast<Article>(node)) {
        fields << "article" << article->title() << article->guid() << article->summary()
               << (article->source() ? article->source()->uniqueID() : article->tempSource());
        for (const auto &author : article->authors())
            fields << author->name() << author->title();
        return {fields.join(" | ")};
    }
    if (const auto folder = std::dynamic_pointer_cast<Folder>(node))
        fields << "folder" << folder->title() << QString::number(folder->locked());
    if (const auto folder = std::dynamic_pointer_cast<VirtualFolder>(node))
        fields << "virtual" << folder->title();
    QStringList lines{fields.join(" | ")};
    for (const TreeNodePtr &child : node->children())
        lines << outline(child, indent + "  ");
    return lines;
}

TreeNodePtr readBack(const TreeNodePtr &root)
{
    return LibraryArchive::unarchiveRoot(LibraryArchive::archivedData(root));
}
} // namespace

TEST(LibraryArchive, ATreeReadBackKeepsEveryClassWithItsFieldsOrderAndParentsButNoRunStateOrFeedArticles)
{
    auto root = std::make_shared<Folder>();
    root->setUniqueID("root");
    root->setTitle("Feed Library");
    auto news = std::make_shared<Folder>();
    news->setTitle("News");
    news->setLocked(true);
    news->setParent(root);
    root->addChild(news);
    auto first = makeFeed("first", news);
    first->setUsername("reader");
    first->setPassword("s3cret \"quoted\"");
    first->setUpdateInterval(15);
    first->setRetentionPeriod(3);
    first->setFeedType(Feed::AtomType);
    first->setEncoding("UTF-8");
    first->setFailureReason("404 Not Found");
    first->setLastSucceeded(QDateTime(QDate(2026, 3, 1), QTime(8, 0), Qt::UTC));
    first->setEntityTag("\"abc\"");
    first->setLastModified("Sun, 01 Mar 2026 08:00:00 GMT");
    first->setRetryAfter(QDateTime(QDate(2026, 3, 2), QTime(9, 0), Qt::UTC));
    first->setIconChecked(QDateTime(QDate(2026, 2, 1), QTime(7, 0), Qt::UTC));
    first->setCustomIconAvailable(false);
    first->setPublicationDate(CalendarDate(QDateTime(QDate(2024, 2, 29), QTime(23, 59)), -34200));
    makeFeed("second", news);
    auto third = makeFeed("third", root);
    auto clippings = std::make_shared<VirtualFolder>("News Clippings");
    root->addChild(clippings);
    auto article = std::make_shared<Article>();
    article->setTitle("Kept");
    article->setGuid("g-1");
    article->setSummary("summary");
    article->setSource(third);
    article->addAuthor(std::make_shared<QBPerson>("Ann", "Author", QString()));
    clippings->addChild(article, 0);
    const QStringList written = outline(root);

    first->setState(Feed::Failed);
    first->addChild(std::make_shared<Article>()); // articles of feeds live in the database
    first->updateUnreadCount();
    const TreeNodePtr back = readBack(root);
    ASSERT_TRUE(back);
    EXPECT_EQ(outline(back).join('\n').toStdString(), written.join('\n').toStdString());

    const auto readNews = back->children().at(0);
    EXPECT_EQ(readNews->parent(), back) << "a parent reference is the very node read elsewhere";
    const auto readFirst = std::dynamic_pointer_cast<Feed>(readNews->children().at(0));
    EXPECT_EQ(readFirst->state(), Feed::Parsed) << "a saved download state is not read back";
    EXPECT_EQ(readFirst->lastDownloaded(), CalendarDate::distantPast());
    EXPECT_EQ(readFirst->childCount(), 0);
    EXPECT_EQ(readFirst->unreadCount(), 0);
    const auto readArticle = std::dynamic_pointer_cast<Article>(back->children().at(2)->children().at(0));
    EXPECT_EQ(readArticle->state(), Article::Read) << "an archive writes no state, so it reads as 0";
    EXPECT_FALSE(readArticle->legacyCreationDate().isNull()) << "a missing creation date becomes the present";
}

TEST(LibraryArchive, ADecodedFeedTakesItsIconFromTheIconFolderPreferringPngAndPassingOverAnErrorPage)
{
    auto root = std::make_shared<Folder>();
    auto both = makeFeed("both", root);
    auto icoOnly = makeFeed("ico", root);
    auto none = makeFeed("none", root);
    none->setCustomIconAvailable(false);
    both->setCustomIconAvailable(false);

    const QString icons = FeedLibrary::iconPath() + "/";
    writeFile(icons + both->uniqueID() + ".png", pictureBytes("PNG", Qt::red, 64));
    writeFile(icons + both->uniqueID() + ".ico", pictureBytes("PNG", Qt::blue, 64));
    writeFile(icons + icoOnly->uniqueID() + ".ico", pictureBytes("PNG", Qt::green, 64));
    writeFile(icons + none->uniqueID() + ".png", "<html><body>404 Not Found</body></html>");

    const TreeNodePtr back = readBack(root);
    ASSERT_TRUE(back);
    const auto readBoth = std::dynamic_pointer_cast<Feed>(back->children().at(0));
    const auto readIco = std::dynamic_pointer_cast<Feed>(back->children().at(1));
    const auto readNone = std::dynamic_pointer_cast<Feed>(back->children().at(2));
    EXPECT_TRUE(readBoth->customIconAvailable());
    EXPECT_EQ(readBoth->favIcon().size(), QSize(29, 29));
    EXPECT_EQ(QColor(readBoth->favIcon().pixel(14, 14)), QColor(Qt::red));
    EXPECT_EQ(QColor(readIco->favIcon().pixel(14, 14)), QColor(Qt::green));
    EXPECT_TRUE(readNone->favIcon().isNull());
    EXPECT_FALSE(readNone->customIconAvailable());
}

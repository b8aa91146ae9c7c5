#include "LogCapture.h"
#include "model/Article.h"
#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "model/Folder.h"
#include "model/LibraryArchive.h"
#include "model/VirtualFolder.h"

#include <QDir>
#include <QFile>
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

std::shared_ptr<Folder> sampleLibrary()
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
    first->setState(Feed::Failed);
    first->setFailureReason("404 Not Found");
    first->setLastSucceeded(QDateTime(QDate(2026, 3, 1), QTime(8, 0), Qt::UTC));
    first->setEntityTag("\"abc\"");
    first->setLastModified("Sun, 01 Mar 2026 08:00:00 GMT");
    first->setRetryAfter(QDateTime(QDate(2026, 3, 2), QTime(9, 0), Qt::UTC));
    first->setIconChecked(QDateTime(QDate(2026, 2, 1), QTime(7, 0), Qt::UTC));
    first->setCustomIconAvailable(false);
    first->setPublicationDate(CalendarDate(QDateTime(QDate(2024, 2, 29), QTime(23, 59)), -34200));
    first->addChild(std::make_shared<Article>()); // articles never go into the library file
    first->updateUnreadCount();
    makeFeed("second", news);
    makeFeed("third", root);
    return root;
}
} // namespace

TEST(LibraryArchive, ATreeReadBackKeepsItsFoldersFeedsOrderSettingsAndParentLinks)
{
    const auto original = sampleLibrary();
    const auto root = std::dynamic_pointer_cast<Folder>(LibraryArchive::unarchiveRoot(
        LibraryArchive::archivedData(original)));
    ASSERT_TRUE(root);
    EXPECT_EQ(root->uniqueID(), "root");
    EXPECT_EQ(root->title(), "Feed Library");
    ASSERT_EQ(root->childCount(), 2);

    const auto news = std::dynamic_pointer_cast<Folder>(root->children().at(0));
    ASSERT_TRUE(news);
    EXPECT_EQ(news->title(), "News");
    EXPECT_TRUE(news->locked());
    EXPECT_EQ(news->parent(), root) << "a parent reference is the very node read elsewhere";
    ASSERT_EQ(news->childCount(), 2);

    const auto first = std::dynamic_pointer_cast<Feed>(news->children().at(0));
    const auto originalFirst = std::dynamic_pointer_cast<Feed>(
        std::dynamic_pointer_cast<Folder>(original->children().at(0))->children().at(0));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->uniqueID(), originalFirst->uniqueID());
    EXPECT_EQ(first->title(), "first");
    EXPECT_EQ(first->description(), "first described");
    EXPECT_EQ(first->feed(), QUrl("https://example.org/first.xml"));
    EXPECT_EQ(first->link(), QUrl("https://example.org/first"));
    EXPECT_EQ(first->username(), "reader");
    EXPECT_EQ(first->password(), "s3cret \"quoted\"");
    EXPECT_EQ(first->updateInterval(), 15);
    EXPECT_EQ(first->retentionPeriod(), 3);
    EXPECT_EQ(first->feedType(), Feed::AtomType);
    EXPECT_EQ(first->encoding(), "UTF-8");
    EXPECT_FALSE(first->customIconAvailable());
    EXPECT_EQ(first->publicationDate(), originalFirst->publicationDate());
    EXPECT_EQ(first->parent(), news);

    EXPECT_EQ(first->state(), Feed::Parsed) << "a saved download state is not read back";
    EXPECT_EQ(first->failureReason(), "404 Not Found") << "but why the latest refresh failed is";
    EXPECT_EQ(first->lastSucceeded(), QDateTime(QDate(2026, 3, 1), QTime(8, 0), Qt::UTC));
    EXPECT_EQ(first->entityTag(), "\"abc\"");
    EXPECT_EQ(first->lastModified(), "Sun, 01 Mar 2026 08:00:00 GMT");
    EXPECT_EQ(first->retryAfter(), QDateTime(QDate(2026, 3, 2), QTime(9, 0), Qt::UTC));
    EXPECT_EQ(first->iconChecked(), QDateTime(QDate(2026, 2, 1), QTime(7, 0), Qt::UTC));
    EXPECT_EQ(first->lastDownloaded(), CalendarDate::distantPast());
    EXPECT_EQ(first->childCount(), 0) << "articles live in the database, not the library file";
    EXPECT_EQ(first->unreadCount(), 0);

    const auto second = std::dynamic_pointer_cast<Feed>(news->children().at(1));
    ASSERT_TRUE(second);
    EXPECT_EQ(second->title(), "second");
    EXPECT_EQ(second->updateInterval(), -1);
    EXPECT_TRUE(second->failureReason().isEmpty());
    EXPECT_FALSE(second->lastSucceeded().isValid());
    EXPECT_EQ(second->feedType(), -1);
    EXPECT_TRUE(second->customIconAvailable());
    const auto third = std::dynamic_pointer_cast<Feed>(root->children().at(1));
    ASSERT_TRUE(third);
    EXPECT_EQ(third->parent(), root);
}

TEST(LibraryArchive, VirtualFoldersAndArchivedArticlesComeBackWithTheirKeys)
{
    auto root = std::make_shared<Folder>();
    auto feed = makeFeed("f", root);
    auto clippings = std::make_shared<VirtualFolder>("News Clippings");
    root->addChild(clippings);
    auto article = std::make_shared<Article>();
    article->setTitle("Kept");
    article->setGuid("g-1");
    article->setSummary("summary");
    article->setSource(feed);
    article->setState(Article::New);
    article->addAuthor(std::make_shared<QBPerson>("Ann", "Author", QString()));
    clippings->addChild(article, 0);

    const auto back = LibraryArchive::unarchiveRoot(LibraryArchive::archivedData(root));
    ASSERT_TRUE(back);
    const auto folder = std::dynamic_pointer_cast<VirtualFolder>(back->children().at(1));
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->title(), "News Clippings");
    const auto read = std::dynamic_pointer_cast<Article>(folder->children().value(0));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->title(), "Kept");
    EXPECT_EQ(read->guid(), "g-1");
    EXPECT_EQ(read->summary(), "summary");
    EXPECT_EQ(read->tempSource(), feed->uniqueID());
    EXPECT_EQ(read->state(), Article::Read) << "an archive writes no state, so it reads as 0";
    ASSERT_EQ(read->authors().size(), 1);
    EXPECT_EQ(read->authors().at(0)->name(), "Ann");
    EXPECT_FALSE(read->legacyCreationDate().isNull()) << "a missing creation date becomes the present";
}

TEST(LibraryArchive, ADecodedFeedTakesItsIconFromTheIconFolderPreferringPng)
{
    auto root = std::make_shared<Folder>();
    auto both = makeFeed("both", root);
    auto icoOnly = makeFeed("ico", root);
    auto none = makeFeed("none", root);
    none->setCustomIconAvailable(false);
    both->setCustomIconAvailable(false);

    QDir().mkpath(FeedLibrary::iconPath());
    auto writeIcon = [](const QString &name, Qt::GlobalColor colour) {
        QImage image(64, 64, QImage::Format_ARGB32);
        image.fill(colour);
        ASSERT_TRUE(image.save(FeedLibrary::iconPath() + "/" + name, "PNG"));
    };
    writeIcon(both->uniqueID() + ".png", Qt::red);
    writeIcon(both->uniqueID() + ".ico", Qt::blue);
    writeIcon(icoOnly->uniqueID() + ".ico", Qt::green);
    // A site's error page saved under the icon's name is no icon.
    QFile errorPage(FeedLibrary::iconPath() + "/" + none->uniqueID() + ".png");
    ASSERT_TRUE(errorPage.open(QIODevice::WriteOnly));
    errorPage.write("<html><body>404 Not Found</body></html>");
    errorPage.close();

    const auto back = LibraryArchive::unarchiveRoot(LibraryArchive::archivedData(root));
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

TEST(LibraryArchive, DamagedOrForeignBytesGiveNoTreeAndALogLine)
{
    const QByteArray good = LibraryArchive::archivedData(sampleLibrary());
    const QList<QByteArray> damaged{good.left(good.size() / 2), good.left(1), QByteArray(),
                                    QByteArray("<?xml version=\"1.0\"?><plist/>"),
                                    QByteArray("{\"root\": 1}")};
    for (const QByteArray &bytes : damaged) {
        LogCapture log;
        EXPECT_EQ(LibraryArchive::unarchiveRoot(bytes), nullptr);
        EXPECT_FALSE(log.lines().isEmpty());
    }
}

#include "model/FeedLibrary.h"

#include "LogCapture.h"
#include "NotificationLog.h"
#include "TestFiles.h"
#include "TestTree.h"
#include "db/FMDatabase.h"
#include "db/FMResultSet.h"
#include "model/ArticleRow.h"
#include "model/LibraryArchive.h"
#include "model/LibraryBackups.h"
#include "platform/Resources.h"
#include "reading/OPMLImporter.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {
// Each row of the table as "uniqueID, parent, state", in the order stored.
QStringList storedRows(const QString &table)
{
    QStringList rows;
    auto database = FMDatabase::databaseWithPath(FeedLibrary::databasePath());
    database->open();
    auto results = database->executeQuery("SELECT * FROM " + table + " ORDER BY id");
    while (results && results->next())
        rows << QStringList({results->stringForColumn("uniqueID"), results->stringForColumn("parent"),
                             results->stringForColumn("state")})
                    .join(", ");
    database->close();
    return rows;
}

ArticlePtr storeArticle(FeedLibrary &library, const FeedPtr &feed, const QString &title,
                        const QString &fullText, int day = 1)
{
    auto article = std::make_shared<Article>();
    article->setTitle(title);
    article->setGuid("guid-" + title);
    article->setParent(feed);
    article->setSource(feed);
    article->setLegacyPublicationDate(CalendarDate(QDateTime(QDate(2026, 3, day), QTime(12, 0), Qt::UTC), 0));
    library.saveSummary(fullText, article);
    feed->addChild(article, 0);
    return article;
}

// For tests about what the user adds: the shipped subscriptions of a new library are taken away first.
void loadWithoutDefaultFeeds(FeedLibrary &library)
{
    library.load();
    library.root()->removeChildren();
}

QStringList titlesOf(const TreeNodeList &nodes)
{
    QStringList titles;
    for (const TreeNodePtr &node : nodes) {
        const auto feed = std::dynamic_pointer_cast<Feed>(node);
        titles << (feed ? feed->title() : QStringLiteral("<not a feed>"));
    }
    return titles;
}

// The shipped list, flat and in its order, whatever folders it has.
QStringList defaultFeedTitles()
{
    QStringList titles;
    for (const FeedPtr &feed :
         OPMLImporter::importFeedsFromPath(Resources::path("DefaultFeeds", "opml")).feeds())
        titles << feed->title();
    return titles;
}
} // namespace

TEST(FeedLibraryLoad, AFirstRunSeedsTheDefaultFeedsFlatAndTheClippingsWithWelcomeThenHelpButNeverAgain)
{
    {
        FeedLibrary library;
        library.load();
        EXPECT_TRUE(QDir(FeedLibrary::iconPath()).exists());
        EXPECT_TRUE(QDir(FeedLibrary::articleImagePath()).exists());
        const auto root = library.root();
        ASSERT_TRUE(root);
        EXPECT_EQ(root->uniqueID(), "root");
        EXPECT_EQ(titlesOf(root->children()), defaultFeedTitles()) << "folders of the list are not kept";
        for (const FeedPtr &feed : library.allFeeds()) {
            EXPECT_EQ(feed->parent(), root);
            EXPECT_EQ(feed->feed().scheme(), "https") << feed->title().toStdString();
            EXPECT_FALSE(feed->link().isEmpty()) << feed->title().toStdString();
        }

        EXPECT_EQ(storedRows("clippings"),
                  QStringList({"QuillBay-SideBarWelcome, , 1", "QuillBay-SideBarHelp, , 1"}));
        const auto folder = library.loadNewsClippings();
        ASSERT_EQ(folder->childCount(), 2);
        const auto welcome = std::dynamic_pointer_cast<Article>(folder->children().at(0));
        const QString page = library.longSummaryForArticle(welcome);
        EXPECT_TRUE(page.contains(Resources::folderUrl().toString() + "/pages.css"))
            << "the page's images resolve";
        EXPECT_FALSE(page.contains("$IMAGE_PATH", Qt::CaseInsensitive));

        root->removeChild(root->children().first());
        library.save();
    }
    FeedLibrary library;
    library.load();
    EXPECT_EQ(titlesOf(library.root()->children()), defaultFeedTitles().mid(1))
        << "a saved library is never seeded again";
    EXPECT_EQ(storedRows("clippings").size(), 2);
}

TEST(FeedLibraryLoad, ALibrarySavedAndLoadedAgainKeepsItsTreeAndReattachesCountedArticles)
{
    QString feedID;
    {
        FeedLibrary library;
        loadWithoutDefaultFeeds(library);
        auto feed = makeFeed(library, "planet", makeFolder(library, "Tech"));
        makeFeed(library, "quiet");
        feedID = feed->uniqueID();
        storeArticle(library, feed, "old", "old text", 1);
        auto read = storeArticle(library, feed, "read", "read text", 2);
        storeArticle(library, feed, "newest", "new text", 3);
        read->setState(Article::Read);
        library.saveStateForArticle(read);
        library.save();
    }
    FeedLibrary library;
    library.load();
    const auto root = library.root();
    ASSERT_EQ(root->childCount(), 2);
    const auto folder = std::dynamic_pointer_cast<Folder>(root->children().at(0));
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->title(), "Tech");
    const auto feed = std::dynamic_pointer_cast<Feed>(folder->children().value(0));
    ASSERT_TRUE(feed);
    EXPECT_EQ(feed->uniqueID(), feedID);
    EXPECT_EQ(feed->parent(), folder);

    QStringList titles;
    for (const TreeNodePtr &child : feed->children())
        titles << std::dynamic_pointer_cast<Article>(child)->title();
    EXPECT_EQ(titles, QStringList({"newest", "read", "old"}));
    EXPECT_EQ(feed->unreadCount(), 2) << "new articles come back unread and are counted";
    EXPECT_FALSE(feed->hasNewArticles());
    EXPECT_EQ(library.totalUnreadArticleCount(), 2);
    EXPECT_EQ(library.longSummaryForArticle(std::dynamic_pointer_cast<Article>(feed->children().at(0))),
              "new text");
}

TEST(FeedLibraryLoad, EitherFileAloneLoadsWhatItHoldsAndTheMissingOneIsMadeAfresh)
{
    {
        FeedLibrary library;
        library.load();
        storeArticle(library, makeFeed(library, "gone"), "orphan", "text");
    }
    {
        FeedLibrary library;
        library.load();
        EXPECT_EQ(storedRows("clippings").size(), 2) << "the clippings are not seeded twice";
        EXPECT_EQ(storedRows("articles").size(), 1)
            << "rows of feeds that no longer exist stay where they are";
        EXPECT_EQ(titlesOf(library.root()->children()), defaultFeedTitles()) << "the root is seeded afresh";
        library.root()->removeChildren();
        storeArticle(library, makeFeed(library, "kept"), "a", "text");
        library.save();
    }
    ASSERT_TRUE(QFile::remove(FeedLibrary::databasePath()));
    FeedLibrary library;
    library.load();
    ASSERT_EQ(library.allFeeds().size(), 1);
    EXPECT_EQ(library.allFeeds().first()->childCount(), 0);
    EXPECT_EQ(storedRows("clippings").size(), 2);
}

TEST(FeedLibraryLoad, TwoRowsWithOneGuidLoadAsOneArticleTheLaterInTheEarliersPlace)
{
    QString laterID;
    {
        FeedLibrary library;
        loadWithoutDefaultFeeds(library);
        auto feed = makeFeed(library, "dupes");
        auto first = storeArticle(library, feed, "same", "one");
        auto second = storeArticle(library, feed, "same", "two");
        laterID = second->uniqueID();
        ASSERT_NE(first->uniqueID(), laterID);
        library.save();
    }
    FeedLibrary library;
    library.load();
    const auto feed = library.allFeeds().first();
    ASSERT_EQ(feed->childCount(), 1);
    EXPECT_EQ(feed->children().first()->uniqueID(), laterID);
}

TEST(FeedLibraryLoad, EachStartKeepsThreeBackupsAndAnUnreadableLibraryIsNeverSavedOverButCanBeRestored)
{
    // Five starts of a program that writes: a feed added in each of the first two.
    for (const QString title : {"one", "two", "", "", ""}) {
        const bool firstRun = !QFile::exists(FeedLibrary::libraryFilePath());
        FeedLibrary library;
        ASSERT_TRUE(library.lockForWriting());
        library.load();
        if (firstRun)
            library.root()->removeChildren();
        if (!title.isEmpty())
            makeFeed(library, title);
        library.save();
    }
    const LibraryBackups backups(FeedLibrary::libraryFilePath());
    const auto backupTitles = [&backups](int generation) {
        return titlesOf(LibraryArchive::unarchiveRoot(fileBytes(backups.path(generation)))->children());
    };
    EXPECT_EQ(fileBytes(backups.path(1)), fileBytes(FeedLibrary::libraryFilePath()));
    EXPECT_EQ(backupTitles(3), QStringList({"one"}))
        << "a start that finds the newest copy unchanged rotates nothing";
    const QByteArray damaged("not a library at all");
    writeFile(FeedLibrary::libraryFilePath(), damaged);
    writeFile(backups.path(1), damaged);

    LogCapture log;
    FeedLibrary library;
    ASSERT_TRUE(library.lockForWriting());
    library.load();
    EXPECT_EQ(library.treeTrouble(), FeedLibrary::TreeTrouble::Unreadable);
    EXPECT_EQ(library.root()->childCount(), 0) << "no default feeds stand in for the user's own";
    EXPECT_EQ(library.newestReadableBackup(), backups.path(2)) << "a damaged backup is passed over";
    library.save();
    EXPECT_EQ(fileBytes(FeedLibrary::libraryFilePath()), damaged);
    EXPECT_TRUE(log.contains("-[FeedLibrary save] " + FeedLibrary::libraryFilePath() +
                             " could not be read at start; it is not saved over"));

    const QString kept = library.keepUnreadableTreeAside();
    EXPECT_TRUE(kept.startsWith(FeedLibrary::libraryFilePath() + ".unreadable-"));
    EXPECT_EQ(fileBytes(kept), damaged);
    ASSERT_TRUE(library.restoreBackup(library.newestReadableBackup()));
    EXPECT_EQ(library.treeTrouble(), FeedLibrary::TreeTrouble::None);
    EXPECT_EQ(titlesOf(library.root()->children()), QStringList({"one", "two"}));
    FeedLibrary again;
    again.load();
    EXPECT_EQ(titlesOf(again.root()->children()), QStringList({"one", "two"}));
}

TEST(FeedLibraryLoad, ADatabaseFileThatIsNotSQLiteIsLeftAloneAndTheLibraryStillRuns)
{
    const QByteArray junk(4096, 'j');
    writeFile(FeedLibrary::databasePath(), junk);
    {
        FeedLibrary library;
        loadWithoutDefaultFeeds(library);
        auto feed = makeFeed(library, "survivor");
        storeArticle(library, feed, "a", "text");
        EXPECT_EQ(library.longSummaryForArticle(std::dynamic_pointer_cast<Article>(feed->children().first())),
                  "");
        library.performSearchWithString("a");
        EXPECT_EQ(library.searchFolder()->childCount(), 0);
        library.save();
    }
    EXPECT_EQ(fileBytes(FeedLibrary::databasePath()), junk);
    FeedLibrary again;
    again.load();
    EXPECT_EQ(again.allFeeds().size(), 1) << "the tree is saved even when the articles cannot be";
}

TEST(FeedLibraryState, StatesWrittenPerArticleAndPerFeedSurviveARestart)
{
    {
        FeedLibrary library;
        loadWithoutDefaultFeeds(library);
        auto first = makeFeed(library, "first");
        auto second = makeFeed(library, "second");
        auto a = storeArticle(library, first, "a", "");
        storeArticle(library, first, "b", "");
        storeArticle(library, second, "c", "");
        auto d = storeArticle(library, second, "d", "");
        a->setState(Article::New);
        library.saveStateForArticle(a);
        library.applyArticleState(Article::Read, first, false);
        d->setState(Article::Read);
        library.applyArticleState(Article::Unread, second, true);
        EXPECT_EQ(d->state(), Article::Read) << "preserving read states leaves read articles alone";
        library.save();
    }
    FeedLibrary library;
    library.load();
    const auto first = library.allFeeds().at(0);
    const auto second = library.allFeeds().at(1);
    EXPECT_EQ(first->unreadCount(), 0);
    EXPECT_EQ(second->unreadCount(), 2) << "the preserving form writes nothing";
}

TEST(FeedLibrarySearch, LikeWildcardsWorkAndAnEmptyResultStillSelectsASearchFolder)
{
    FeedLibrary library;
    library.load();
    auto feed = makeFeed(library, "f");
    storeArticle(library, feed, "Rates", "up by 50 percent");
    storeArticle(library, feed, "Sales", "a 50% rise");
    storeArticle(library, feed, "Other", "nothing here");

    library.performSearchWithString("50%");
    EXPECT_EQ(library.searchFolder()->childCount(), 2) << "% in the text is a wildcard";
    library.performSearchWithString("RATES");
    EXPECT_EQ(library.searchFolder()->childCount(), 1);
    library.performSearchWithString("5_ p");
    EXPECT_EQ(library.searchFolder()->childCount(), 1);
    const auto hit = std::dynamic_pointer_cast<Article>(library.searchFolder()->children().first());
    EXPECT_EQ(hit->parent(), library.searchFolder());
    EXPECT_EQ(hit->source(), feed);

    NotificationLog heard;
    library.performSearchWithString("no such words");
    EXPECT_EQ(library.searchFolder()->title(), "Search: no such words");
    EXPECT_EQ(library.searchFolder()->childCount(), 0);
    EXPECT_EQ(library.selectedItems(), TreeNodeList({library.searchFolder()}));
    EXPECT_EQ(heard.names(), QStringList({"FeedSearchPerformedWithString", "feedSelectionChanged"}));
}

TEST(FeedLibraryQueries, SelectionNavigationAndMovesFollowTheTreeOrder)
{
    FeedLibrary library;
    library.load();
    auto folder = std::make_shared<Folder>();
    library.add(folder, nullptr, 0);
    auto a = makeFeed(library, "a", folder);
    auto b = makeFeed(library, "b", folder);
    makeFeed(library, "c", folder);
    makeFeed(library, "d", folder);
    auto x = storeArticle(library, a, "x", "");
    auto y = storeArticle(library, b, "y", "");

    library.add(a, folder, 3);
    QStringList order;
    for (const FeedPtr &feed : library.feedsForFolder(folder))
        order << feed->title();
    EXPECT_EQ(order, QStringList({"b", "c", "d", "a"}));

    EXPECT_EQ(library.nextArticleAfter(y), x);
    EXPECT_EQ(library.nextArticleAfter(x), x) << "the last article answers itself";
    EXPECT_EQ(library.previousArticleBefore(y), y) << "the first article answers itself";
    EXPECT_EQ(library.nextArticleAfter(std::make_shared<Article>()), y) << "an unknown article starts over";

    auto clipped = std::make_shared<Article>();
    library.setSelectedItems({folder, clipped});
    EXPECT_EQ(library.selectedArticles(), TreeNodeList({y, x})) << "feeds win over loose articles";
    EXPECT_EQ(library.selectedFolder(), folder);
    library.setSelectedItems({clipped});
    EXPECT_EQ(library.selectedArticles(), TreeNodeList({clipped}));
    auto results = std::make_shared<VirtualFolder>("results");
    results->addChildren({x, y});
    library.setSelectedItems({results, clipped});
    EXPECT_EQ(library.selectedArticleCount(), library.selectedArticles().size());
    EXPECT_EQ(library.selectedArticleCount(), 3);
    library.setSelectedItems({b});
    EXPECT_EQ(library.selectedFolder(), folder);

    EXPECT_TRUE(library.isItemAncestorOf(folder, x));
    EXPECT_FALSE(library.isItemAncestorOf(b, x));
    EXPECT_EQ(library.itemWithUniqueID(x->uniqueID()), x);
    EXPECT_EQ(library.articleWithGuid("guid-y", b), y);
    EXPECT_EQ(library.longSummaryForArticle(std::make_shared<Article>()), "");

    LogCapture log;
    EXPECT_TRUE(library.articlesForFeed(nullptr).isEmpty());
    EXPECT_TRUE(library.articlesForFeeds(std::nullopt).isEmpty());
    EXPECT_TRUE(library.feedsForFolder(nullptr).isEmpty());
    library.add(nullptr, folder, 0);
    EXPECT_EQ(log.lines(), QStringList({"- [FeedLibrary articlesForFeed:] called with nil feed",
                                        "- [FeedLibrary articlesForFeeds:] called with nil array",
                                        "- [FeedLibrary feedsForFolder:] called with nil folder",
                                        "- [QBFeedLibrary add:into:atIndex:] called with nil item to add."}));
}

TEST(FeedLibraryHistory, DeletingHistoryTakesRowsAndThumbnailsAndTheCleanUpOnlyPicturesOfArticlesThatAreGone)
{
    FeedLibrary library;
    library.load();
    auto feed = makeFeed(library, "f");
    auto kept = storeArticle(library, feed, "kept", "");
    auto dropped = storeArticle(library, feed, "dropped", "");
    const QString images = FeedLibrary::articleImagePath() + "/" + feed->uniqueID();
    for (const QString &name : {dropped->uniqueID(), kept->uniqueID(), QString("abc")})
        writeFile(images + "/" + name + ".jpg", "jpeg");
    library.deleteHistoryFor(dropped, feed);
    EXPECT_FALSE(QFile::exists(images + "/" + dropped->uniqueID() + ".jpg"));
    EXPECT_EQ(storedRows("articles").size(), 1);

    NotificationLog progress({"ActiveTaskNotification"});
    std::thread worker([&] { library.removeOrphanedThumbnailImages(std::chrono::milliseconds(0)); });
    // The tree keeps changing on this thread while the clean-up reads it.
    for (int i = 0; i < 200; ++i)
        storeArticle(library, makeFeed(library, QString::number(i)), "busy", "");
    worker.join();
    EXPECT_GE(progress.notes.size(), 2);
    EXPECT_FALSE(QFile::exists(images + "/abc.jpg"));
    EXPECT_TRUE(QFile::exists(images + "/" + kept->uniqueID() + ".jpg"));

    library.removeChildrenForItem(feed, true);
    EXPECT_FALSE(QDir(images).exists());
    EXPECT_EQ(feed->childCount(), 0);
    EXPECT_EQ(storedRows("articles").size(), 200);
}

namespace {
mode_t modeOf(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 0777 : 0;
}
} // namespace

TEST(FeedLibraryFiles, TheFolderAndItsFilesAreTheOwnersAloneAlsoWhereAnOlderLibraryWasOpenToAll)
{
    const mode_t savedMask = umask(022);
    {
        FeedLibrary library;
        library.load();
        library.save();
    }
    EXPECT_EQ(modeOf(FeedLibrary::libraryPath()), 0700u);
    EXPECT_EQ(modeOf(FeedLibrary::libraryFilePath()), 0600u);
    EXPECT_EQ(modeOf(FeedLibrary::databasePath()), 0600u);

    chmod(QFile::encodeName(FeedLibrary::libraryPath()).constData(), 0755);
    for (const QString &file : {FeedLibrary::libraryFilePath(), FeedLibrary::databasePath()})
        chmod(QFile::encodeName(file).constData(), 0644);
    FeedLibrary library;
    ASSERT_TRUE(library.lockForWriting());
    library.load();
    umask(savedMask);
    EXPECT_EQ(modeOf(FeedLibrary::libraryPath()), 0700u);
    for (const QString &file :
         {FeedLibrary::libraryFilePath(), FeedLibrary::databasePath(), FeedLibrary::databasePath() + "-wal",
          LibraryBackups(FeedLibrary::libraryFilePath()).path(1)})
        EXPECT_EQ(modeOf(file), 0600u) << file.toStdString();
}

TEST(FeedLibrarySave, SavingNeverRewritesTheDatabaseWhichIsCompactedOnlyWhenAFifthOfItIsFree)
{
    FeedLibrary library;
    loadWithoutDefaultFeeds(library);
    const auto pragma = [&library](const QString &name) {
        const auto results = library.database()->executeQuery("PRAGMA " + name);
        const qint64 value = results && results->next() ? results->longLongIntForColumn(name) : -1;
        results->close();
        return value;
    };
    auto feed = makeFeed(library, "wordy");
    ArticleList articles;
    for (int i = 0; i < 100; ++i)
        articles << storeArticle(library, feed, QString::number(i), QString(4000, QChar('a' + i % 26)));
    for (int i = 0; i < 10; ++i)
        library.deleteHistoryFor(articles.at(i), feed);
    const qint64 freeAfterSmallDeletion = pragma("freelist_count");
    ASSERT_GT(freeAfterSmallDeletion, 0);
    library.save();
    library.compactDatabase();
    EXPECT_EQ(pragma("freelist_count"), freeAfterSmallDeletion) << "a tenth free is not worth a rewrite";

    for (int i = 10; i < 60; ++i)
        library.deleteHistoryFor(articles.at(i), feed);
    const qint64 pages = pragma("page_count");
    library.compactDatabase();
    EXPECT_EQ(pragma("freelist_count"), 0);
    EXPECT_LT(pragma("page_count"), pages * 3 / 4);
}

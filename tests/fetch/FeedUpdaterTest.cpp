#include "UpdaterFixture.h"
#include "db/FMDatabase.h"
#include "db/FMResultSet.h"
#include "fetch/DownloadItem.h"
#include "fetch/Downloader.h"
#include "fetch/QBDockBadge.h"
#include "model/Enclosure.h"

#include <QCoreApplication>
#include <QDir>
#include <QPainter>

namespace {

std::unique_ptr<Downloader> finishedDownload(const QVariant &context, int state)
{
    auto downloader = std::make_unique<Downloader>();
    downloader->setContextInfo(context);
    downloader->setState(state);
    return downloader;
}

} // namespace

TEST_F(UpdaterTest, TheCheckQueuesFeedsWhoseIntervalHasPassedAndASettingChangeCountsAtTheNextCheck)
{
    const FeedPtr never = addFeed(QStringLiteral("never downloaded"));
    const FeedPtr recent = addFeed(QStringLiteral("ten minutes ago, global interval"));
    recent->setLastDownloaded(CalendarDate(QDateTime::currentDateTimeUtc().addSecs(-600), 0));
    const FeedPtr ownInterval = addFeed(QStringLiteral("ten minutes ago, own interval of five"));
    ownInterval->setLastDownloaded(CalendarDate(QDateTime::currentDateTimeUtc().addSecs(-600), 0));
    ownInterval->setUpdateInterval(5);
    ownInterval->setState(Feed::Failed);
    const FeedPtr unset = addFeed(QStringLiteral("no date at all"));
    unset->setLastDownloaded(CalendarDate());
    const FeedPtr postponed = addFeed(QStringLiteral("asked by its server to wait"));
    postponed->setRetryAfter(QDateTime::currentDateTimeUtc().addSecs(3600));

    updater.checkForDueFeeds();
    QStringList titles;
    for (const auto &item : updater.queuedDownloads())
        titles << item->title();
    EXPECT_EQ(titles, QStringList({never->title(), ownInterval->title()}));
    EXPECT_EQ(updater.totalDownloads(), 2);
    EXPECT_EQ(ownInterval->state(), Feed::Idle);
    EXPECT_LT(std::llabs(never->lastDownloaded().moment().secsTo(QDateTime::currentDateTimeUtc())), 5);

    // Still waiting in the queue, a feed is not queued again, however long ago it was last fetched.
    never->setLastDownloaded(CalendarDate::distantPast());
    updater.checkForDueFeeds();
    EXPECT_EQ(updater.queuedDownloads().size(), 2);

    defaults.setInteger(QStringLiteral("generalRefreshInterval"), 5);
    updater.checkForDueFeeds();
    ASSERT_EQ(updater.queuedDownloads().size(), 3);
    EXPECT_EQ(updater.queuedDownloads().last()->title(), recent->title());
    EXPECT_TRUE(unset->lastDownloaded().isNull());
}

TEST_F(UpdaterTest, APausedCheckQueuesNothingAndTheLibraryResumesItAfterChangingTheTree)
{
    addFeed(QStringLiteral("due"));
    updater.setPauseScheduledUpdates(true);
    updater.checkForDueFeeds();
    EXPECT_TRUE(updater.queuedDownloads().isEmpty());

    FeedUpdater &shared = FeedUpdater::sharedFeedUpdater();
    auto folder = std::make_shared<Folder>();
    auto feed = std::make_shared<Feed>();
    shared.setPauseScheduledUpdates(true);
    FeedLibrary::feedLibrary().add(feed, folder, 0);
    EXPECT_FALSE(shared.pauseScheduledUpdates());
    shared.setPauseScheduledUpdates(true);
    FeedLibrary::feedLibrary().remove(feed, folder);
    EXPECT_FALSE(shared.pauseScheduledUpdates());
}

TEST_F(UpdaterTest, TheProcessorStartsOneDownloadPerRunWhileFewerThanTheLimitRun)
{
    defaults.setInteger(QStringLiteral("downloadConcurrent"), 2);
    const FeedPtr first = addFeed(QStringLiteral("first"));
    addFeed(QStringLiteral("second"));
    addFeed(QStringLiteral("third"));
    // The same feed asked for twice is queued twice; the timed check queues only what is not waiting.
    updater.requestFeedDownload(first);
    updater.requestFeedDownload(first);
    updater.checkForDueFeeds();
    ASSERT_EQ(updater.queuedDownloads().size(), 4);
    EXPECT_EQ(updater.queuedDownloads().at(1)->title(), "first");
    NotificationLog log(updaterNotes);

    updater.processQueuedDownloads();
    EXPECT_EQ(updater.downloadsInProgress(), 1);
    EXPECT_EQ(updater.queuedDownloads().size(), 3);
    EXPECT_EQ(first->state(), Feed::Downloading);
    ASSERT_EQ(log.names(), QStringList({"FeedDownloadBeginingNotification", "ActiveTaskNotification"}));
    EXPECT_EQ(log.notes.first().object.value<FeedPtr>(), first);
    const QVariantMap progress = log.notes.last().userInfo;
    EXPECT_EQ(progress.value("ActiveTaskMaxValueKey").toDouble(), 4.0);
    EXPECT_EQ(progress.value("ActiveTaskValueKey").toDouble(), 0.0);
    EXPECT_EQ(progress.value("ActiveTaskNameKey").toString(), "Updating feeds");

    updater.processQueuedDownloads();
    updater.processQueuedDownloads();
    EXPECT_EQ(updater.downloadsInProgress(), 2);
    EXPECT_EQ(updater.queuedDownloads().size(), 2);

    const auto failed = finishedDownload(QVariant::fromValue(first), Downloader::DownloadStateActive);
    updater.downloadComplete(failed.get());
    updater.processQueuedDownloads();
    EXPECT_EQ(updater.downloadsInProgress(), 2);
    EXPECT_EQ(updater.queuedDownloads().size(), 1);
}

TEST_F(UpdaterTest, AFinishedEnclosureIsStoredUnderItsSavedNamePlaysItsSoundAndNotifies)
{
    auto enclosure = std::make_shared<Enclosure>();
    enclosure->setTitle(QStringLiteral("Episode 12"));
    const ArticlePtr article =
        addArticle(addFeed(QStringLiteral("podcast")), QStringLiteral("ep-12"), 2, true);
    article->setEnclosure(enclosure);
    library.saveSummary(QStringLiteral("show notes"), article);
    const auto done = finishedDownload(QVariantMap{{DownloadTypeKey, Downloader::DownloadTypeEnclosure},
                                                   {DownloadEnclosureKey, QVariant::fromValue(enclosure)}},
                                       Downloader::DownloadStateDone);
    done->setDestination(QStringLiteral("/downloads"));
    done->setFileName(QStringLiteral("audio (2).mp3"));
    updater.downloadComplete(done.get());
    EXPECT_EQ(enclosure->localFilePath(), "/downloads/audio (2).mp3");
    const auto stored = library.database()->executeQuery("SELECT enclosure FROM articles WHERE uniqueID = ?",
                                                         article->uniqueID());
    ASSERT_TRUE(stored && stored->next());
    EXPECT_TRUE(stored->stringForColumn("enclosure").contains("/downloads/audio (2).mp3"));
    EXPECT_EQ(alert.events, QStringList({"sound Download Completed"}));
    EXPECT_EQ(notifier.delivered, QStringList({"Download complete / Episode 12"}));

    alert.events.clear();
    defaults.setBoolean(QStringLiteral("downloadPlaySound"), false);
    const auto source = finishedDownload(QVariantMap{{DownloadTypeKey, Downloader::DownloadTypeFeedSource}},
                                         Downloader::DownloadStateDone);
    updater.downloadComplete(source.get());
    updater.downloadComplete(done.get());
    EXPECT_TRUE(alert.events.isEmpty());
    EXPECT_EQ(notifier.delivered.size(), 2);
}

TEST_F(UpdaterTest, ExpiryRemovesDatedArticlesThatLeftTheFeedBeyondTheRetentionAndTheirStoredText)
{
    const FeedPtr feed = addFeed(QStringLiteral("expiring"));
    addArticle(feed, QStringLiteral("newest"), 21, true);
    const ArticlePtr old = addArticle(feed, QStringLiteral("eight-days-older"), 13);
    addArticle(feed, QStringLiteral("exactly-seven-days-older"), 14);
    addArticle(feed, QStringLiteral("six-days-older"), 15);
    addArticle(feed, QStringLiteral("old-but-still-in-feed"), 2, true);
    addArticle(feed, QStringLiteral("undated"), 0);
    library.saveSummary(QStringLiteral("stored text"), old);
    library.setLibraryDirty(false);

    updater.expireOldArticlesForFeed(feed);
    EXPECT_EQ(guidsOf(feed), QStringList({"newest", "six-days-older", "old-but-still-in-feed", "undated"}))
        << "seven days unless set";
    EXPECT_EQ(library.longSummaryForArticle(old), "");
    EXPECT_TRUE(library.libraryDirty());

    // When every article would go, the list stays but the stored text goes.
    const FeedPtr allOld = addFeed(QStringLiteral("all old"));
    const ArticlePtr only = addArticle(allOld, QStringLiteral("all-old-only"), 2);
    allOld->setRetentionPeriod(0);
    library.saveSummary(QStringLiteral("text"), only);
    updater.expireOldArticlesForFeed(allOld);
    EXPECT_EQ(allOld->childCount(), 1);
    EXPECT_EQ(library.longSummaryForArticle(only), "");

    // The setting counts for feeds without a retention of their own.
    const FeedPtr usesSetting = addFeed(QStringLiteral("global retention"));
    const FeedPtr ownWeek = addFeed(QStringLiteral("own retention of seven days"));
    ownWeek->setRetentionPeriod(7);
    for (const FeedPtr &each : {usesSetting, ownWeek}) {
        addArticle(each, each->title() + "/newest", 21, true);
        addArticle(each, each->title() + "/two-days-older", 19);
        addArticle(each, each->title() + "/exactly-three-days-older", 18);
    }
    defaults.setInteger(QStringLiteral("generalExpireAfter"), 3);
    updater.expireOldArticlesForFeed(usesSetting);
    updater.expireOldArticlesForFeed(ownWeek);
    EXPECT_EQ(guidsOf(usesSetting),
              QStringList({"global retention/newest", "global retention/two-days-older"}));
    EXPECT_EQ(ownWeek->childCount(), 3) << "a feed's own retention wins over the setting";
}

TEST_F(UpdaterTest, IconRequestsQueueTheFirstCandidateAtTheSitesOwnOriginIntoTheIconFolder)
{
    const FeedPtr feed = addFeed(QStringLiteral("with icon"), QUrl(QStringLiteral("file:///etc/feed")));
    // Neither the site nor the feed is a web address: there is no one to ask.
    for (const char *link : {"", "/news/", "http://127.0.0.1:@PORT@/news/"}) {
        feed->setLink(QUrl(QString::fromLatin1(link)));
        updater.downloadIconForFeed(feed);
    }
    EXPECT_TRUE(updater.queuedDownloads().isEmpty());
    EXPECT_TRUE(feed->iconChecked().isValid());
    feed->setLink(QUrl(QStringLiteral("https://www.example.org:8443/news/index.html")));
    updater.downloadIconForFeed(feed);
    updater.downloadIconFromURL(QUrl(), feed);
    updater.downloadIconFromURL(QUrl(QStringLiteral("http://cdn.example.org/i/logo.png")), feed);
    feed->setLink(QUrl());
    feed->setFeed(QUrl(QStringLiteral("http://127.0.0.1:8080/feeds/news.xml")));
    updater.downloadIconForFeed(feed);

    const auto queue = updater.queuedDownloads();
    ASSERT_EQ(queue.size(), 3);
    EXPECT_EQ(updater.totalDownloads(), 0) << "icons are no part of a refresh batch";
    EXPECT_EQ(queue.first()->downloadURL().toString(),
              "https://www.example.org:8443/apple-touch-icon-precomposed.png");
    EXPECT_EQ(queue.first()->destination(), FeedLibrary::iconPath());
    EXPECT_EQ(queue.at(1)->title(), "logo.png");
    EXPECT_EQ(queue.last()->downloadURL().toString(),
              "http://127.0.0.1:8080/apple-touch-icon-precomposed.png");
}

TEST(DockBadge, CountsAreDrawnInBlackSmallerAsTheyGrowAndFourDigitsReadLots)
{
    int size = QBDockBadge::layoutForCount(1).fontSize;
    for (int count : {10, 100, 1000}) {
        EXPECT_LT(QBDockBadge::layoutForCount(count).fontSize, size) << count;
        EXPECT_EQ(QBDockBadge::layoutForCount(count - 1).fontSize, size) << count - 1;
        size = QBDockBadge::layoutForCount(count).fontSize;
    }
    EXPECT_EQ(QBDockBadge::layoutForCount(999).text, "999");
    EXPECT_EQ(QBDockBadge::layoutForCount(1000).text, "Lots");

    QImage dock(128, 128, QImage::Format_ARGB32_Premultiplied);
    dock.fill(Qt::white);
    const QImage badge = QBDockBadge::image(dock, 50);
    ASSERT_EQ(badge.size(), dock.size());
    // From the bottom: 25 to 89 points up, that is rows 39 to 103 from the top.
    int darkInside = 0;
    int darkOutside = 0;
    for (int y = 0; y < 128; ++y)
        for (int x = 0; x < 128; ++x)
            if (qGray(badge.pixel(x, y)) < 100)
                ++(y >= 39 && y < 103 ? darkInside : darkOutside);
    EXPECT_GT(darkInside, 50);
    EXPECT_EQ(darkOutside, 0) << "nor is the dock picture itself lost to a clear one";
}

TEST_F(UpdaterTest, TheDockIconShowsTheUnreadCountResetsAtZeroAndIsLeftAloneWhenSwitchedOff)
{
    const FeedPtr feed = addFeed(QStringLiteral("unread"));
    updater.updateDockIcon();
    EXPECT_EQ(tile.resets, 1);
    EXPECT_TRUE(tile.icons.isEmpty());

    addArticle(feed, QStringLiteral("badge-a"), 2, true);
    feed->updateUnreadCount();
    updater.updateDockIcon();
    ASSERT_EQ(tile.icons.size(), 1);
    EXPECT_NE(tile.icons.first(), tile.dockImage());

    defaults.setBoolean(QStringLiteral("displayUnreadInDockIcon"), false);
    updater.updateDockIcon();
    feed->setChildren({});
    feed->updateUnreadCount();
    updater.updateDockIcon();
    EXPECT_EQ(tile.icons.size(), 1);
    EXPECT_EQ(tile.resets, 1);
}

TEST_F(UpdaterTest, AnAddressNoTransferCanBeMadeOfFailsAndFreesItsSlot)
{
    defaults.setInteger(QStringLiteral("downloadConcurrent"), 1);
    const FeedPtr local = addFeed(QStringLiteral("local"), QUrl(QStringLiteral("file:///etc/hostname")));
    const FeedPtr broken = addFeed(QStringLiteral("broken"), QUrl(QStringLiteral("ftp://127.0.0.1/feed")));
    updater.requestFeedDownload(local);
    updater.requestFeedDownload(broken);
    updater.requestDownload(QUrl(QStringLiteral("gopher://127.0.0.1/x")), QDir::tempPath(), {});
    for (int pass = 0; pass < 3; ++pass) {
        updater.processQueuedDownloads();
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(updater.downloadsInProgress(), 0);
    EXPECT_TRUE(updater.queuedDownloads().isEmpty()) << "each failure freed the one slot for the next";
    EXPECT_EQ(local->state(), Feed::Failed);
    EXPECT_EQ(broken->state(), Feed::Failed);
}

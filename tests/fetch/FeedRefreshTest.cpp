#include "LoopbackServer.h"
#include "UpdaterFixture.h"
#include "fetch/Downloader.h"

#include <QEventLoop>
#include <QTimer>

namespace {

using Response = LoopbackServer::Response;

const QByteArray refreshedFeed = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel>"
                                 "<title>Loopback news</title><link>http://127.0.0.1/</link>"
                                 "<item><title>Fresh one</title><guid>refresh-fresh-1</guid>"
                                 "<description>First fresh text</description>"
                                 "<pubDate>Fri, 20 Mar 2026 12:00:00 +0000</pubDate></item>"
                                 "<item><title>Fresh two</title><guid>refresh-fresh-2</guid>"
                                 "<description>Second fresh text</description>"
                                 "<pubDate>Thu, 19 Mar 2026 12:00:00 +0000</pubDate></item>"
                                 "</channel></rss>";

ArticlePtr storedArticle(const FeedPtr &feed, const QString &guid, const QDate &day, int state)
{
    auto article = std::make_shared<Article>();
    article->setGuid(guid);
    article->setTitle(guid);
    article->setState(state);
    article->setLegacyPublicationDate(CalendarDate(QDateTime(day, QTime(12, 0), Qt::UTC), 0));
    article->setParent(feed);
    feed->addChild(article);
    return article;
}

// Runs the event loop until the updater has reported the given number of feeds, or a generous bound
// passes, so that a lost completion fails the test instead of hanging it.
bool waitForFeeds(const NotificationLog &log, int feeds)
{
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (log.names().count(QStringLiteral("feedDownloaded")) >= feeds)
            loop.quit();
    });
    poll.start(20);
    QTimer::singleShot(20000, &loop, &QEventLoop::quit);
    loop.exec();
    return log.names().count(QStringLiteral("feedDownloaded")) >= feeds;
}

QStringList guidsOf(const FeedPtr &feed)
{
    QStringList guids;
    for (const TreeNodePtr &node : feed->children())
        guids << std::dynamic_pointer_cast<Article>(node)->guid();
    return guids;
}

} // namespace

TEST_F(UpdaterTest, ARefreshFromTheNetworkMergesTheFeedExpiresOldArticlesAndAlertsOnce)
{
    LoopbackServer server;
    server.route(QStringLiteral("/news.xml"),
                 Response::ok(refreshedFeed, "application/rss+xml; charset=utf-8"));
    const FeedPtr feed = addFeed(QStringLiteral("loopback"), server.url(QStringLiteral("/news.xml")));
    const ArticlePtr earlierNew =
        storedArticle(feed, "refresh-earlier-new", QDate(2026, 3, 18), Article::New);
    const ArticlePtr earlierRead =
        storedArticle(feed, "refresh-earlier-read", QDate(2026, 3, 18), Article::Read);
    const ArticlePtr ancient = storedArticle(feed, "refresh-ancient", QDate(2026, 1, 2), Article::Read);
    library.saveSummary(QStringLiteral("ancient text"), ancient);
    NotificationLog log;
    // Only the requests below run: a paused check queues nothing, while queued downloads still start.
    updater.setPauseScheduledUpdates(true);

    updater.requestFeedDownload(feed);
    ASSERT_TRUE(waitForFeeds(log, 1));

    EXPECT_EQ(guidsOf(feed), QStringList({"refresh-fresh-1", "refresh-fresh-2", "refresh-earlier-new",
                                          "refresh-earlier-read"}));
    EXPECT_EQ(feed->state(), Feed::Parsed);
    const auto fresh = std::dynamic_pointer_cast<Article>(feed->children().first());
    EXPECT_EQ(fresh->state(), Article::New);
    EXPECT_EQ(library.longSummaryForArticle(fresh), "First fresh text");
    EXPECT_EQ(library.longSummaryForArticle(ancient), "");
    EXPECT_EQ(earlierNew->state(), Article::Unread);
    EXPECT_EQ(earlierRead->state(), Article::Read);
    EXPECT_EQ(feed->unreadCount(), 3);

    EXPECT_EQ(log.names(), QStringList({"FeedDownloadBeginingNotification", "ActiveTaskNotification",
                                        "ActiveTaskNotification", "feedDownloaded"}));
    EXPECT_EQ(log.notes.at(2).userInfo.value("ActiveTaskNameKey").toString(), "Downloads completed");
    EXPECT_EQ(log.notes.last().object.value<FeedPtr>(), feed);
    EXPECT_EQ(alert.events, QStringList({"sound New Articles", "beep", "attention"}));
    EXPECT_EQ(notifier.delivered, QStringList({"New articles / You have 3 unread articles."}));
    EXPECT_EQ(tile.icons.size(), 1);
    EXPECT_EQ(updater.downloadsInProgress(), 0);
    EXPECT_EQ(updater.totalDownloads(), 0);

    // The same document again brings nothing new, so the batch ends without an alert.
    alert.events.clear();
    updater.requestFeedDownload(feed);
    ASSERT_TRUE(waitForFeeds(log, 2));
    EXPECT_EQ(feed->childCount(), 4);
    EXPECT_EQ(fresh->state(), Article::Unread);
    EXPECT_TRUE(alert.events.isEmpty());
    EXPECT_EQ(notifier.delivered.size(), 1);
}

TEST_F(UpdaterTest, FailedNotModifiedAndRefusedDownloadsLeaveTheFeedFailedAndUnparsed)
{
    Downloader::setDefaultTimeoutInterval(300);
    LoopbackServer server;
    Response stall;
    stall.stall = true;
    Response cut = Response::ok(refreshedFeed, "application/rss+xml");
    cut.closeMidBody = true;
    server.route(QStringLiteral("/unchanged.xml"), Response::notModified());
    server.route(QStringLiteral("/private.xml"), Response::authenticationRequired());
    server.route(QStringLiteral("/stalled.xml"), stall);
    server.route(QStringLiteral("/cut.xml"), cut);
    updater.setPauseScheduledUpdates(true);
    QList<FeedPtr> feeds;
    for (const QString path : {"/unchanged.xml", "/private.xml", "/stalled.xml", "/cut.xml"}) {
        const FeedPtr feed = addFeed(path, server.url(path));
        storedArticle(feed, "failing-" + path, QDate(2026, 3, 1), Article::New);
        updater.requestFeedDownload(feed);
        feeds << feed;
    }
    NotificationLog log;

    const bool finished = waitForFeeds(log, 4);
    Downloader::setDefaultTimeoutInterval(30000);
    ASSERT_TRUE(finished);
    for (const FeedPtr &feed : feeds) {
        EXPECT_EQ(feed->state(), Feed::Failed) << feed->title().toStdString();
        ASSERT_EQ(feed->childCount(), 1);
        EXPECT_EQ(std::dynamic_pointer_cast<Article>(feed->children().first())->state(), Article::New);
    }
    EXPECT_EQ(log.names().count("FeedDownloadBeginingNotification"), 4);
    for (const Notification &note : log.notes)
        EXPECT_NE(note.userInfo.value("ActiveTaskNameKey").toString(), "Downloads completed");
    EXPECT_EQ(updater.completedDownloads(), 4);
    EXPECT_EQ(updater.totalDownloads(), 4);
    EXPECT_TRUE(alert.events.isEmpty());
    EXPECT_TRUE(tile.icons.isEmpty());
}

TEST_F(UpdaterTest, TheNewArticlesAlertPlaysTheChosenSoundBeepsForAMissingOneAndHonoursBothSwitches)
{
    LoopbackServer server;
    const FeedPtr feed = addFeed(QStringLiteral("alerting"), server.url(QStringLiteral("/alerts.xml")));
    alert.knownSounds = QStringList({"New Articles", "Chime"});
    NotificationLog log;
    updater.setPauseScheduledUpdates(true);
    int batches = 0;
    // Each batch serves one article not seen before, so that every batch ends with an alert.
    const auto alertOfNextBatch = [&] {
        ++batches;
        server.route(
            QStringLiteral("/alerts.xml"),
            Response::ok("<rss version=\"2.0\"><channel><title>Alerts</title><item><guid>alert-" +
                             QByteArray::number(batches) +
                             "</guid><title>Item</title>"
                             "<pubDate>Fri, 20 Mar 2026 12:00:00 +0000</pubDate></item></channel></rss>",
                         "application/rss+xml"));
        alert.events.clear();
        updater.requestFeedDownload(feed);
        EXPECT_TRUE(waitForFeeds(log, batches));
        EXPECT_EQ(notifier.delivered.size(), batches) << "batch " << batches << " brought a new article";
        return alert.events;
    };

    EXPECT_EQ(alertOfNextBatch(), QStringList({"sound New Articles", "attention"}));

    defaults.setString(QStringLiteral("generalAlertSound"), QStringLiteral("Chime"));
    EXPECT_EQ(alertOfNextBatch(), QStringList({"sound Chime", "attention"}));

    defaults.setString(QStringLiteral("generalAlertSound"), QStringLiteral("No Such Sound"));
    EXPECT_EQ(alertOfNextBatch(), QStringList({"sound No Such Sound", "beep", "attention"}));

    defaults.setBoolean(QStringLiteral("generalPlaySound"), false);
    EXPECT_EQ(alertOfNextBatch(), QStringList({"attention"}));

    defaults.setBoolean(QStringLiteral("generalPlaySound"), true);
    defaults.setString(QStringLiteral("generalAlertSound"), QStringLiteral("Chime"));
    defaults.setBoolean(QStringLiteral("generalBounceDockIcon"), false);
    EXPECT_EQ(alertOfNextBatch(), QStringList({"sound Chime"}));
}
